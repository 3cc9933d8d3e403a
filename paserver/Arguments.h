// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "paserver/BrokerServer.h"

namespace paserver {

/// How the daemon ends.
enum DaemonExit : int {
    stopped = 0,
    wrongUsage = 1,
    cannotStart = 2,  ///< a scenario, folder or broker that cannot be used, or a server that does
                      ///< not start again
    replaced = 3,     ///< another server with the same number has started
};

/// What the command line asks for.
struct Arguments {
    ServerSettings settings{};
    std::string metrics{};  ///< where the metrics are served; empty: nowhere
    bool journal = false;   ///< log lines have priorities
    long debug = 1;
    std::optional<int> exitCode{};  ///< when there is nothing to do but to end
    std::string output{};           ///< of --help and --version
    std::string error{};            ///< what is wrong, in one line
};

/// Reads the command line, the files that it names and the password of the environment.
/// @param words without the program's name
Arguments readArguments(const std::vector<std::string>& words);

}  // namespace paserver
