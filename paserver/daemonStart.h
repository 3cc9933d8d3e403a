// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "framework/log.h"
#include "framework/shared.h"
#include "paserver/journal.h"

namespace paserver {

/// Writes in one line why the daemon `program` does not serve.
/// @param journal whether stderr is read as that of a service, with priorities
/// @return the exit code
int refuse(const char* program, int exitCode, const std::string& error, bool journal);

/// Begins the log of the daemon `program` as its arguments ask, or prints what they ask for.
/// @param arguments as those of paserver
/// @return the exit code of a daemon that is not to serve
template <class Arguments>
std::optional<int> beginDaemon(const char* program, const Arguments& arguments) {
    if (arguments.exitCode) {
        std::fputs(arguments.output.c_str(), stdout);
        return arguments.error.empty()
                   ? *arguments.exitCode
                   : refuse(program, *arguments.exitCode, arguments.error, arguments.journal);
    }
    if (arguments.journal) {
        logToJournal();
    }
    pa::store(debugLevel, arguments.debug);
    return std::nullopt;
}

}  // namespace paserver
