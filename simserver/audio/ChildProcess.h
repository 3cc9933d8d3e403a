#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace simserver {

/// What a program wrote, and how it ended.
struct ProgramEnd {
    std::string output;
    std::optional<int> exitCode;  ///< nothing when it did not start, was killed, or hung
};

/// Runs a program of the PATH as a process of its own, without a shell, to its end. May be called
/// from any thread.
/// @param command  the program and its arguments
/// @param input    what it reads from its standard input
/// @param goesOn   asked about the output so far: after each piece, and at least every tenth of
///                 a second; false kills the program, and so does an exception
/// @param patience it hangs when it neither reads nor writes nor ends for so long, and is killed
/// @return nothing when it was given up
std::optional<ProgramEnd> runProgram(std::vector<std::string> command, const std::string& input,
                                     const std::function<bool(const std::string&)>& goesOn,
                                     std::chrono::milliseconds patience = std::chrono::seconds(30));

}  // namespace simserver
