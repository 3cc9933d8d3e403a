// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <system_error>

namespace pautil {

/// An open file, closed with the object.
class Descriptor {
public:
    /// @param opened negative when the file could not be opened
    explicit Descriptor(int opened) : number_(opened) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    [[nodiscard]] int number() const { return number_; }
    [[nodiscard]] bool isOpen() const { return number_ >= 0; }

    /// Writes all of it.
    /// @return the reason of a failure, else no error
    [[nodiscard]] std::error_code write(const char* data, std::size_t size) const;

private:
    const int number_;
};

/// Why the last system call has failed; no error when `failed` is false.
std::error_code lastError(bool failed = true);

}  // namespace pautil
