// SPDX-License-Identifier: Apache-2.0
#include "panel/api/routes.h"

namespace papanel {

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
