#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <vector>

#include "console/Context.h"

namespace console {

/// What a command does once its arguments are read.
/// @throws Failure, or the controller's own exceptions when it refuses an argument
using Handler = std::function<void(const Context&)>;

/// One command of the console.
struct Command {
    const char* name;
    const char* help;
    /// Adds the command's arguments to its parser; the handler finds their values.
    Handler (*define)(CLI::App& parser);
    bool ownsProcess = false;  ///< not for a line of a script or a shell
};

/// Every command, in the order of the help.
const std::vector<Command>& commands();

/// Gives a command subcommands, of which one must be named.
/// @return what runs the one that is named
Handler defineSubcommands(CLI::App& parser, const std::vector<Command>& table);

// Each stands in a file of its own topic.
Handler defineStatus(CLI::App& parser);
Handler defineList(CLI::App& parser);
Handler defineGet(CLI::App& parser);
Handler defineZone(CLI::App& parser);
Handler definePlay(CLI::App& parser);
Handler defineCancel(CLI::App& parser);
Handler defineSource(CLI::App& parser);
Handler defineSink(CLI::App& parser);
Handler defineTrigger(CLI::App& parser);
Handler defineSelector(CLI::App& parser);
Handler definePreview(CLI::App& parser);
Handler defineRecord(CLI::App& parser);
Handler defineSim(CLI::App& parser);
Handler defineSchedule(CLI::App& parser);
Handler defineMonitor(CLI::App& parser);
Handler defineDemo(CLI::App& parser);
Handler defineShell(CLI::App& parser);

}  // namespace console
