#include "console/commands.h"

namespace console {

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        {"status", "Show what the server says of itself and how much it holds", defineStatus},
        {"list", "List every resource of a kind", defineList},
        {"get", "Show one resource with all its members", defineGet},
        {"zone", "Ask about a zone", defineZone},
        {"play", "Play an announcement, or show a text", definePlay},
        {"cancel", "Cancel an announcement, or all of a type", defineCancel},
        {"monitor", "Print every change, until Ctrl-C", defineMonitor},
        {"demo", "Show the main job in about half a minute", defineDemo},
    };
    return table;
}

}  // namespace console
