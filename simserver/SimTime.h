#pragma once

#include <chrono>

namespace simserver {

/// Simulated time: since the server started, or a stretch of it.
using SimTime = std::chrono::milliseconds;

/// No announcement is longer: whatever adds up to more is cut to it, so that sums do not overflow.
constexpr SimTime longest = std::chrono::hours(24 * 365 * 100);

}  // namespace simserver
