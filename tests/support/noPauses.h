#pragma once

#include <atomic>
#include <ctime>

#include "framework/clock.h"

/// Has the pauses of record handlers (100 ms) go by at once, or call `instead`. The longer sleep of
/// the controller's worker stays what it is: a thread that nobody waits for.
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
