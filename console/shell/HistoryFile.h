// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "console/Output.h"

namespace console {

/// The lines of earlier shells, in a file that only the user can read. A line is added as soon as
/// it is typed, so that several shells share the file. A failure is reported once and is no error.
class HistoryFile {
public:
    /// @param path empty: nothing is kept, and nothing is reported
    HistoryFile(std::filesystem::path path, Output& diagnostics);

    /// The newest lines, oldest first, without those that a terminal must not show. Only the last
    /// `mostBytes` of the file are read; a file with many more lines is cut to the newest.
    std::vector<std::string> load();

    void add(const std::string& line);

    static constexpr std::size_t mostLines = 1000;
    static constexpr std::size_t mostBytes = 1U << 20U;

private:
    void cutTo(const std::vector<std::string>& lines) const;
    void reportOnce(const std::string& why);

    std::filesystem::path path_;  // empty after a failure
    Output& diagnostics_;
};

}  // namespace console
