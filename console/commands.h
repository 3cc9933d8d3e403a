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
};

/// Every command, in the order of the help.
const std::vector<Command>& commands();

// Each stands in a file of its own topic.
Handler defineStatus(CLI::App& parser);
Handler defineList(CLI::App& parser);
Handler defineGet(CLI::App& parser);
Handler defineZone(CLI::App& parser);
Handler definePlay(CLI::App& parser);
Handler defineCancel(CLI::App& parser);
Handler defineMonitor(CLI::App& parser);
Handler defineDemo(CLI::App& parser);

}  // namespace console
