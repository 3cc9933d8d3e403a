#include "console/commands/commands.h"

#include <memory>

namespace console {

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        {"status", "Show what the server says of itself and how much it holds", defineStatus},
        {"list", "List every resource of a kind", defineList},
        {"get", "Show one resource with all its members", defineGet},
        {"zone", "Ask about a zone, attach zones to a source and detach them", defineZone},
        {"source", "Take a source, set its gain, see its zones and its level", defineSource},
        {"sink", "Set the gain of a sink, monitor it, reset it", defineSink},
        {"trigger", "Make software triggers and use them, see all triggers", defineTrigger},
        {"selector", "See the selectors", defineSelector},
        {"play", "Play an announcement, or show a text", definePlay},
        {"cancel", "Cancel an announcement, or all of a type", defineCancel},
        {"preview", "Have a text spoken into a WAV file", definePreview},
        {"record", "Record at the server, and handle recordings", defineRecord},
        {"schedule", "Have announcements played at set dates and times", defineSchedule},
        {"monitor", "Print every change, until Ctrl-C", defineMonitor},
        {"demo", "Show the main jobs in about a minute", defineDemo},
        {"shell", "Run commands as they are typed, over one connection", defineShell, true},
        {"sim", "Do what happens on the simulated server's own side", defineSim},
    };
    return table;
}

Handler defineSubcommands(Parser& parser, const std::vector<Command>& table) {
    const auto chosen = std::make_shared<Handler>();
    parser.requireSubcommand();
    for (const Command& command : table) {
        const auto handler = std::make_shared<Handler>();
        Parser below = parser.addSubcommand(command.name, command.help,
                                            [chosen, handler] { *chosen = *handler; });
        *handler = command.define(below);
    }
    return [chosen](const Context& context) { (*chosen)(context); };
}

}  // namespace console
