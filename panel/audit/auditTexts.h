// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "panel/http/Route.h"

/// @file
/// What the audit trail keeps of a request, as texts.

namespace papanel {

/// How much of a request is kept.
constexpr std::size_t mostRequestBytes = 4096;

/// The text as UTF-8 without NUL, cut where it is longer.
std::string storable(const std::string& text, std::size_t mostBytes);

/// The body of a request: one line of JSON without what must not be kept, as passwords, and without
/// its end when it is long. Empty for null.
std::string auditedRequest(const Json& body);

/// What a request is about, for people: what its path names, else its parameters, else those
/// members of its body that name something. Empty when nothing does; without its end when it is
/// long.
std::string auditedTarget(const ApiRequest& request);

}  // namespace papanel
