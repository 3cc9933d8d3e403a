// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "panel/http/RequestHead.h"
#include "panel/http/Route.h"

namespace papanel {

/// Leaves the part of a reply that the request names, as a player of audio asks for. A request for
/// several parts is answered with everything.
void applyRange(const RequestHead& head, ApiReply& reply);

}  // namespace papanel
