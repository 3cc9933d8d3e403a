#include "console/commands.h"

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

Handler defineSubcommands(CLI::App& parser, const std::vector<Command>& table) {
    const auto chosen = std::make_shared<Handler>();
    parser.require_subcommand(1);
    for (const Command& command : table) {
        CLI::App* const subparser = parser.add_subcommand(command.name, command.help);
        const Handler handler = command.define(*subparser);
        subparser->callback([chosen, handler] { *chosen = handler; });
    }
    return [chosen](const Context& context) { (*chosen)(context); };
}

}  // namespace console
