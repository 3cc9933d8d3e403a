// SPDX-License-Identifier: Apache-2.0
#include "panel/api/outcome.h"
#include "panel/api/records.h"
#include "panel/api/routes.h"

namespace papanel {

namespace {

ApiReply status(Services& services, const ApiRequest& /*request*/) {
    return {200, statusOf(services)};
}

}  // namespace

Routes statusRoutes() {
    return {{"GET", "/status", Access::Monitor, Effect::Reads, nullptr, answered<status>}};
}

Routes resourceRoutes() {
    Routes all;
    for (const auto topic : {statusRoutes, recordRoutes, sourceRoutes, sinkRoutes, triggerRoutes,
                             announcementRoutes, uploadRoutes, previewRoutes, recordingRoutes,
                             scheduleRoutes, simulationRoutes, auditRoutes}) {
        const Routes routes = topic();
        all.insert(all.end(), routes.begin(), routes.end());
    }
    return all;
}

}  // namespace papanel
