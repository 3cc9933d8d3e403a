// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "panel/http/Route.h"

namespace papanel {

/// The streams of server-sent events: of everything, and of a source's level.
Routes eventRoutes();

}  // namespace papanel
