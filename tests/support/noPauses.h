// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <ctime>

#include "framework/clock.h"

/// Skips the pauses of record handlers (100 ms), or calls `instead`. The longer sleep of the
/// controller's worker stays: no test waits for that thread.
inline pa::TimeSource withoutPauses(void (*instead)(int) = [](int) {}) {
    static std::atomic<void (*)(int)> pause;
    pause = instead;
    pa::TimeSource source;
    source.sleepMS = [](int ms) {
        if (ms <= 100) {
            pause.load()(ms);
        } else {
            const timespec duration{ms / 1000, 0};
            nanosleep(&duration, nullptr);
        }
    };
    return source;
}

inline void skipPauses(void (*instead)(int) = [](int) {}) {
    pa::setTimeSource(withoutPauses(instead));
}
