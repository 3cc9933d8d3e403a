#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/Output.h"
#include "console/Settings.h"
#include "console/commands.h"

namespace console {

/// A command line, read.
struct CommandLine {
    Settings settings;
    std::string command;  ///< empty for none
    Handler handler;      ///< of the command
};

/// What a command line may choose: the server and all that the process does, or, on a line of a
/// script, only what the line itself does.
enum class LineKind { Process, Script };

/// Reads a command line, or prints the help that it asks for.
/// @param words    without the program's name
/// @param defaults what holds where it says nothing
/// @return nothing when it asks for help
/// @throws Failure when it is wrong
std::optional<CommandLine> readCommandLine(const std::vector<std::string>& words,
                                           const Settings& defaults, LineKind kind, Output& out);

}  // namespace console
