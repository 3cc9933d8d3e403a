// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "panel/http/Route.h"

namespace papanel {

/// Adds the headers of every answer: what browsers may do with it.
void addPolicyHeaders(ApiReply& reply);

}  // namespace papanel
