#include "console/commands/commands.h"

namespace console {

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        statusCommand(),  listCommand(),    getCommand(),      zoneCommand(),    sourceCommand(),
        sinkCommand(),    triggerCommand(), selectorCommand(), playCommand(),    cancelCommand(),
        previewCommand(), recordCommand(),  scheduleCommand(), monitorCommand(), demoCommand(),
        shellCommand(),   simCommand(),
    };
    return table;
}

}  // namespace console
