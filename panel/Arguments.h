// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "panel/Panel.h"

namespace papanel {

/// How the daemon ends.
enum ExitCode : int {
    stopped = 0,
    wrongUsage = 1,
    cannotStart = 2,  ///< a file, an address or a scenario that cannot be used
};

/// What the command line asks for.
struct Arguments {
    PanelSettings settings{};
    bool journal = false;  ///< log lines have priorities
    long debug = 0;
    std::optional<int> exitCode{};  ///< when there is nothing to do but to end
    std::string output{};           ///< of --help and --version
    std::string error{};            ///< what is wrong, in one line
};

/// Reads the command line and the file that it names.
/// @param words without the program's name
Arguments readArguments(const std::vector<std::string>& words);

}  // namespace papanel
