// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>

#include "api.h"
#include "timeWidth.h"

/// @file
/// The host's clocks and its sleep. Every function here may be called from any thread.

namespace pa {

/// The wall clock, in seconds since 1970 UTC. It may jump.
[[nodiscard]] PA_API std::time_t wallClock();

/// A clock that never jumps, in ms since an arbitrary start: for ages and time limits.
[[nodiscard]] PA_API std::int64_t monotonicMS();

/// The same clock in us: for short durations. As precise as its replacement, which counts in ms.
[[nodiscard]] PA_API std::int64_t monotonicUS();

}  // namespace pa

/// Sleeps the calling thread for at least `ms` milliseconds; not at all when it is 0 or negative.
PA_API void sleepMS(int ms);

namespace pa {

/// Replacements for the clocks and the sleep, so that a test need not wait for real time. A null
/// member selects the system's own.
struct TimeSource {
    std::time_t (*wallClock)() = nullptr;     ///< for `pa::wallClock`
    std::int64_t (*monotonicMS)() = nullptr;  ///< for `pa::monotonicMS` and `monotonicUS`
    void (*sleepMS)(int) = nullptr;           ///< for `::sleepMS`
};

/// Puts `source` in force for the whole process.
PA_API void setTimeSource(const TimeSource& source);

}  // namespace pa
