// SPDX-License-Identifier: Apache-2.0
#include "client/StationClock.h"
#include "client/resources.h"
#include "console/commands/commands.h"
#include "framework/clock.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace console {

using namespace paclient;

namespace {

/// The holders of the sources that are locked.
void addLocks(Json& report) {
    Json own = Json::array();
    Json others = Json::array();
    for (const SourceLock& lock : locks.all()) {
        if (lock.holder == "this client") {
            own.push_back(lock.sourceId);
        } else if (!lock.lockedUUID.empty()) {
            others.push_back({{"sourceId", lock.sourceId}, {"lockedUUID", lock.lockedUUID}});
        }
    }
    report["lockedByThisClient"] = own;
    report["lockedByOthers"] = others;
}

/// How the way to a distant server is doing, with the time of a round trip.
void addLink(Json& report, Session& session) {
    const Endpoint& endpoint = session.connection().endpoint();
    const auto link = endpoint.report();
    if (!link) {
        return;
    }
    const std::int64_t before = pa::monotonicMS();
    session.waitUntilDelivered();
    report["link"] = {{"address", endpoint.name()}, {"roundTripMS", pa::monotonicMS() - before}};
    report["link"].update(toJson(*link));
}

/// What the server has reported of itself, and what it holds.
Json statusOf(Session& session) {
    Json server = Json::object();
    const KeyValueMap info = session.connection().serverInfo();
    for (const std::string& key : info.get_all_keys()) {
        server[key] = info.get_value(key);
    }
    const StationClock clock = stationClock();
    Json report = {{"server", server},
                   {"time", clock.momentText(clock.now())},
                   {"activeDstNo", pa::load(gActiveAudioServerDstNo)},
                   {"localDstNo", pa::load(gLocalDstNo)},
                   {"indirect", pa::load(gIndirectCXSConnection)},
                   {"sources", gPaController.getPaSources().size()},
                   {"sinks", gPaController.getPaSinks().size()},
                   {"zones", gPaController.getPaZones().size()},
                   {"voices", gPaController.getTTSVocalizerList().size()},
                   {"hardwareTriggers", gPaController.getHwPaTriggers().size()},
                   {"softwareTriggers", gPaController.getSwPaTriggers().size()},
                   {"selectors", gPaController.getPaSelectors().size()},
                   {"ttsItems", gPaController.getTTSDictionaryList().size()},
                   {"schedules", gPaController.listSchedules().size()},
                   {"announcements", gPaController.getAnnouncementRequests().size()}};
    addLocks(report);
    addLink(report, session);
    return report;
}

void status(const Context& context) {
    const Json report = statusOf(context.connected());
    Json shown = report;
    shown["server"].erase("clock");  // of the time when the connection began
    shown["server"].erase("clockMS");
    TextTable table({"ITEM", "VALUE"});
    const Json items = shown.flatten();
    for (const auto& entry : items.items()) {
        const Json& value = entry.value();
        const std::string text = value.is_string() ? value.get<std::string>()
                                 : value.is_null() ? "none"  // an empty list
                                                   : value.dump();
        table.addRow({entry.key().substr(1), text});
    }
    context.settings.json ? context.writeJson(report) : context.out.write(table.text());
}

}  // namespace

Command statusCommand() {
    return command<status>("status",
                           "Show what the server reports of itself and how much it holds");
}

}  // namespace console
