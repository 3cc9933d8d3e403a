// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "panel/http/HttpConnection.h"

namespace papanel {

/// Reads the body of a request as its route expects it: JSON into `body`, else into `bytes`.
/// @throws ApiError unsupported-media-type, too-large, bad-request
void readBody(const HttpRequest& request, const Route& route, ApiRequest& call);

}  // namespace papanel
