// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "console/Context.h"
#include "console/arguments/options.h"

namespace console {

/// What a command does once its arguments are read.
/// @throws Failure, or the controller's own exceptions when it refuses an argument
using Handler = std::function<void(const Context&)>;

/// One command of the console: what it does, or the commands below it, of which a line names one.
struct Command {
    const char* name;
    const char* help;
    /// Adds the command's arguments to its app; the handler finds their values.
    Handler (*define)(CLI::App& app);
    std::vector<Command> below;
    bool ownsProcess = false;  ///< not for a line of a script or a shell
};

/// A command whose arguments are the members of a struct. `define(app)` adds them as options,
/// `run(context)` is the handler.
template <class Arguments>
Command command(const char* name, const char* help) {
    const auto define = [](CLI::App& app) -> Handler {
        const auto arguments = std::make_shared<Arguments>();
        arguments->define(app);
        return [arguments](const Context& context) { arguments->run(context); };
    };
    return {name, help, define, {}};
}

/// A command without arguments.
template <void (*run)(const Context&)>
Command command(const char* name, const char* help) {
    return {name, help, [](CLI::App& /*app*/) -> Handler { return run; }, {}};
}

inline Command group(const char* name, const char* help, std::vector<Command> below) {
    return {name, help, nullptr, std::move(below)};
}

/// Every command, in the order of the help.
const std::vector<Command>& commands();

/// The names by which the resources of a kind can be called now: numbers and labels as they are.
/// @param kind as `get` calls it, or "language"; of another kind none are known
std::vector<std::string> knownNames(const std::string& kind);

// Each in a file of its own topic, those of schedules in `schedule/`.
Command statusCommand();
Command listCommand();
Command getCommand();
Command zoneCommand();
Command sourceCommand();
Command sinkCommand();
Command triggerCommand();
Command selectorCommand();
Command playCommand();
Command cancelCommand();
Command previewCommand();
Command recordCommand();
Command scheduleCommand();
Command scheduleExportCommand();
Command scheduleImportCommand();
Command monitorCommand();
Command demoCommand();
Command shellCommand();
Command simCommand();

}  // namespace console
