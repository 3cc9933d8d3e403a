// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "util/Descriptor.h"

namespace console {

/// The lines of a file, a pipe or a terminal, without a byte order mark before the first. An
/// ordinary stream would not wake up when the user interrupts.
class LineFile {
public:
    /// @param path   a file, "-" for the standard input
    /// @param asWhat how messages call it, as in "script"
    /// @param onTick called often while a line is waited for; may be empty
    /// @throws Failure when it cannot be opened
    LineFile(const std::string& path, const std::string& asWhat, std::function<void()> onTick = {});

    const std::string& name() const { return name_; }

    /// The next line, without its end.
    /// @return false when there is none
    /// @throws Failure when the user interrupts, it cannot be read, or the line is longer than
    ///         `mostBytes`
    bool next(std::string& line);

    /// All lines that are left, each with its end.
    /// @throws Failure as next, also when they are longer than `mostBytes` together
    std::string readAll();

    static constexpr std::size_t mostBytes = 16U << 20U;

private:
    bool readMore();
    [[noreturn]] void failWithErrno() const;
    void requireFits(std::size_t bytes) const;

    const std::string name_;
    const std::string asWhat_;
    const std::function<void()> onTick_;
    const pautil::Descriptor descriptor_;
    std::string pending_;
    std::size_t begin_ = 0;  // of what has not been handed out
    bool isFirst_ = true;    // whether the next line is the first one
};

}  // namespace console
