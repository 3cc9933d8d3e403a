// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "panel/http/Route.h"

namespace papanel {

struct Services;

/// The routes of everything that the audio server holds and can be asked for, and of the audit
/// trail. Those of sessions and of the streams of events are elsewhere.
Routes resourceRoutes();

/// @name By topic, in the order of that table
/// @{
Routes statusRoutes();
Routes recordRoutes();
Routes sourceRoutes();
Routes sinkRoutes();
Routes triggerRoutes();
Routes announcementRoutes();
Routes uploadRoutes();
Routes previewRoutes();
Routes recordingRoutes();
Routes scheduleRoutes();
Routes simulationRoutes();
Routes auditRoutes();
/// @}

}  // namespace papanel
