// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace simserver {

/// Simulated time: since the start of the server, or a duration.
using SimTime = std::chrono::milliseconds;

/// The longest announcement: longer sums are cut to it, so that they do not overflow.
constexpr SimTime longest = std::chrono::hours(24 * 365 * 100);

}  // namespace simserver
