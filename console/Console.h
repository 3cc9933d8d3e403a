// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "client/ChangeStream.h"
#include "console/Context.h"

namespace console {

/// What a command line may choose: the server and all that the process does, or, on a line of a
/// script or a shell, only what the line itself does.
enum class LineKind { Process, Script, Shell };

/// Where a console writes.
struct Streams {
    std::ostream& out;       ///< data
    std::ostream& err;       ///< diagnostics, a line each
    int terminal = -1;       ///< file descriptor of `out` when that is a terminal
    int errorTerminal = -1;  ///< of `err`, likewise
};

/// Runs a command line, from reading it to closing the connection. Throws only when the
/// system has no memory or threads left.
/// @param words without the program's name
/// @return the exit code
int run(const std::vector<std::string>& words, const Streams& streams);

/// Runs the lines of the script that the settings name, over the same connection, up to the first
/// that fails.
/// @throws Failure with its exit code; the text names the line
void runScriptLines(const Context& context);

/// Runs the words of one line over the same connection.
/// @param context with the settings that the line does not change
/// @return the line's command, empty when it has none or asks for help
/// @throws Failure when it fails
std::string runLine(const Context& context, const std::vector<std::string>& words, LineKind kind);

/// What a script and a shell report between their commands: refusals that come late, sources that
/// are no longer attached, and a connection that is there again.
class ShellNotices {
public:
    explicit ShellNotices(Output& diagnostics, bool reportsConnection = true);

    /// Reports what has happened since the last report.
    /// @param command  that has run since then
    /// @param reported by it: a refusal that is part of this is not reported again
    void report(const std::string& command = {}, const std::string& reported = {});

private:
    std::string textOf(const paclient::Change& change, const std::string& reported);

    Output& diagnostics_;
    const bool reportsConnection_;
    paclient::Subscription changes_;
    std::set<int> held_;
};

}  // namespace console
