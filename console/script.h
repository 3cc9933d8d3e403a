#pragma once

#include <functional>
#include <string>
#include <vector>

namespace console {

/// Splits a line into words as a shell does: blanks and tabs separate, single quotes keep
/// everything, double quotes keep all but a backslash before `"` or `\`, a backslash outside of
/// quotes keeps the next character, a # at the start of a word begins a comment.
/// @throws Failure when a quote is not closed or nothing follows a backslash
std::vector<std::string> splitWords(const std::string& line);

/// Runs a command for each line that has one, and stops at the first that fails.
/// @param path a file, "-" for the standard input
/// @throws Failure with the command's exit code; its text names the line
void runScript(const std::string& path,
               const std::function<void(const std::vector<std::string>& words)>& runCommand);

}  // namespace console
