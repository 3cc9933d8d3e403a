#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "console/Output.h"

namespace console {

/// Where the lines of a user's shells are kept, by the two variables of the environment; empty when
/// neither says.
/// @param stateHome XDG_STATE_HOME, used when it is an absolute path; null when it is not set
/// @param home      HOME; null when it is not set
std::filesystem::path historyPath(const char* stateHome, const char* home);

/// The lines of earlier shells, in a file that the user alone can read. A line is added as soon as
/// it is typed, so shells side by side share the file. What goes wrong is told once and is no
/// error.
class HistoryFile {
public:
    /// @param path empty: nothing is kept, and nothing is told
    HistoryFile(std::filesystem::path path, Output& diagnostics);

    /// The newest lines, oldest first. Lines that a terminal must not see are left out. A file that
    /// has grown far beyond that is cut to them.
    std::vector<std::string> load();

    void add(const std::string& line);

    static constexpr std::size_t mostLines = 1000;

private:
    void replaceBy(const std::vector<std::string>& lines);
    void tellOnce(const std::string& why);

    std::filesystem::path path_;  // empty after trouble
    Output& diagnostics_;
};

}  // namespace console
