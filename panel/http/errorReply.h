// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "panel/http/Route.h"

namespace papanel {

class ApiError;

/// The error as the API answers it. Its details "retryAfter", in seconds, and "allow" are headers,
/// too.
ApiReply replyFor(const ApiError& error);

/// What the function returns, or the error that it throws. Every exception becomes a reply: one
/// that is no `ApiError` is reported, without a detail for the client.
ApiReply replyOf(const std::function<ApiReply()>& answer);

}  // namespace papanel
