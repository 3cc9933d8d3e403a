// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "panel/http/Route.h"

namespace papanel {

/// Login, logout, and who is logged in.
const Routes& sessionRoutes();

}  // namespace papanel
