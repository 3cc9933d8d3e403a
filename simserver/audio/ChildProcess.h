// SPDX-License-Identifier: Apache-2.0
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
    int startError = 0;           ///< number of the system's error when it did not start
};

/// Runs a program of the PATH as a process, without a shell, to its end. May be called
/// from any thread.
/// @param command     the program and its arguments
/// @param input       its standard input
/// @param mayContinue called with the output so far: after each piece, and at least every tenth of
///                    a second; false kills the program, and so does an exception
/// @param patience    a program that neither reads nor writes nor ends for so long hangs and is
///                    killed
/// @return nothing when `mayContinue` ended it
std::optional<ProgramEnd> runProgram(std::vector<std::string> command, const std::string& input,
                                     const std::function<bool(const std::string&)>& mayContinue,
                                     std::chrono::milliseconds patience = std::chrono::seconds(30));

}  // namespace simserver
