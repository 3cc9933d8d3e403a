#include "console/TextTable.h"
#include "console/commands.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace console {

namespace {

Json statusOf(Session& session) {
    Json server = Json::object();
    const KeyValueMap info = session.serverInfo();
    for (const std::string& key : info.get_all_keys()) {
        server[key] = info.get_value(key);
    }
    return {{"server", server},
            {"activeDstNo", gActiveAudioServerDstNo.load()},
            {"localDstNo", gLocalDstNo.load()},
            {"indirect", gIndirectCXSConnection.load()},
            {"sources", gPaController.getPaSources().size()},
            {"sinks", gPaController.getPaSinks().size()},
            {"zones", gPaController.getPaZones().size()},
            {"voices", gPaController.getTTSVocalizerList().size()},
            {"announcements", gPaController.getAnnouncementRequests().size()}};
}

void status(const Context& context) {
    const Json report = statusOf(context.session());
    if (context.settings.json) {
        context.writeJson(report);
        return;
    }
    TextTable table({"ITEM", "VALUE"});
    const Json items = report.flatten();
    for (const auto& entry : items.items()) {
        const Json& value = entry.value();
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        table.addRow({entry.key().substr(1), text});
    }
    context.out.write(table.text());
}

}  // namespace

Handler defineStatus(CLI::App& /*parser*/) {
    return status;
}

}  // namespace console
