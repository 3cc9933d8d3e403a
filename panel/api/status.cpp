// SPDX-License-Identifier: Apache-2.0
#include "client/StationClock.h"
#include "client/resources.h"
#include "framework/clock.h"
#include "panel/api/outcome.h"
#include "panel/api/records.h"
#include "panel/api/routes.h"
#include "panel/audit/utcTime.h"
#include "sdk/PAController.h"

namespace papanel {

using namespace paclient;

namespace {

Json serverInfoOf(const Services& services) {
    Json server = Json::object();
    const KeyValueMap info = services.connection.serverInfo();
    for (const std::string& key : info.get_all_keys()) {
        server[key] = info.get_value(key);
    }
    return server;
}

/// Why there is no connection, empty with one.
std::string reasonOf(const Connection& connection, const std::optional<LinkReport>& link) {
    if (connection.isSynced()) {
        return "";
    }
    const std::string lost = connection.lossReason();
    return lost.empty() && link ? link->problem : lost;
}

ApiReply status(Services& services, const ApiRequest& /*request*/) {
    return {200, statusOf(services)};
}

}  // namespace

Json statusOf(const Services& services) {
    const Connection& connection = services.connection;
    const bool isSynced = connection.isSynced();
    const auto away = connection.awayFor();
    const auto awaySeconds = std::chrono::duration_cast<std::chrono::seconds>(away).count();
    const StationClock clock = stationClock();
    Json counts = Json::object();
    counts["zones"] = gPaController.getPaZones().size();
    counts["sources"] = gPaController.getPaSources().size();
    counts["sinks"] = gPaController.getPaSinks().size();
    counts["voices"] = gPaController.getTTSVocalizerList().size();
    counts["triggers"] = allTriggers().size();
    counts["selectors"] = gPaController.getPaSelectors().size();
    counts["schedules"] = gPaController.listSchedules().size();
    counts["ttsItems"] = gPaController.getTTSDictionaryList().size();
    counts["announcements"] = gPaController.getAnnouncementRequests().size();
    const auto link = services.connection.endpoint().report();
    return {{"connected", services.connection.link().isConnected()},
            {"synced", isSynced},
            {"awayForMs", away.count()},
            {"awaySince", isSynced ? Json() : Json(utcSecondText(pa::wallClock() - awaySeconds))},
            {"reason", reasonOf(connection, link)},
            {"server", serverInfoOf(services)},
            {"address", services.connection.endpoint().name()},
            {"link", link ? toJson(*link) : Json()},
            {"time", utcSecondText(pa::wallClock())},
            {"stationTime", clock.secondText(clock.now())},
            {"timeZone", clock.timeZone()},
            {"speed", clock.speed()},
            {"counts", counts}};
}

Routes statusRoutes() {
    return {{"GET", "/status", Access::Monitor, Effect::Reads, nullptr, answered<status>}};
}

}  // namespace papanel
