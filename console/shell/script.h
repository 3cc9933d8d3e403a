#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace console {

/// Runs a command for each line that has one, and stops at the first that fails.
/// @param path a file, "-" for the standard input
/// @throws Failure with the command's exit code; its text names the line
void runScript(const std::filesystem::path& path,
               const std::function<void(const std::vector<std::string>& words)>& runCommand);

}  // namespace console
