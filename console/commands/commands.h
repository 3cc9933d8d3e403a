#pragma once

#include <functional>
#include <vector>

#include "console/Context.h"
#include "console/arguments/Parser.h"

namespace console {

/// What a command does once its arguments are read.
/// @throws Failure, or the controller's own exceptions when it refuses an argument
using Handler = std::function<void(const Context&)>;

/// One command of the console.
struct Command {
    const char* name;
    const char* help;
    /// Adds the command's arguments to its parser; the handler finds their values.
    Handler (*define)(Parser& parser);
    bool ownsProcess = false;  ///< not for a line of a script or a shell
};

/// Every command, in the order of the help.
const std::vector<Command>& commands();

/// Gives a command subcommands, of which one must be named.
/// @return what runs the one that is named
Handler defineSubcommands(Parser& parser, const std::vector<Command>& table);

// Each stands in a file of its own topic.
Handler defineStatus(Parser& parser);
Handler defineList(Parser& parser);
Handler defineGet(Parser& parser);
Handler defineZone(Parser& parser);
Handler definePlay(Parser& parser);
Handler defineCancel(Parser& parser);
Handler defineSource(Parser& parser);
Handler defineSink(Parser& parser);
Handler defineTrigger(Parser& parser);
Handler defineSelector(Parser& parser);
Handler definePreview(Parser& parser);
Handler defineRecord(Parser& parser);
Handler defineSim(Parser& parser);
Handler defineSchedule(Parser& parser);
Handler defineMonitor(Parser& parser);
Handler defineDemo(Parser& parser);
Handler defineShell(Parser& parser);

}  // namespace console
