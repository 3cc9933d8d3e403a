// SPDX-License-Identifier: Apache-2.0
#include "framework/clock.h"

#include <atomic>
#include <cerrno>

using namespace pa;

namespace {

std::time_t systemWallClock() {
    return std::time(nullptr);
}

timespec systemMonotonic() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

std::int64_t systemMonotonicMS() {
    const timespec now = systemMonotonic();
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

void systemSleepMS(int ms) {
    timespec rest{ms / 1000, (ms % 1000) * 1'000'000L};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

// Constant-initialised: threads may ask for the time before main starts and after it has ended.
std::atomic<std::time_t (*)()> wallClockInForce{systemWallClock};
std::atomic<std::int64_t (*)()> monotonicInForce{systemMonotonicMS};
std::atomic<void (*)(int)> sleepInForce{systemSleepMS};

}  // namespace

std::time_t pa::wallClock() {
    return wallClockInForce.load()();
}

std::int64_t pa::monotonicMS() {
    return monotonicInForce.load()();
}

std::int64_t pa::monotonicUS() {
    const auto milliseconds = monotonicInForce.load();
    if (milliseconds != systemMonotonicMS) {
        return milliseconds() * 1000;
    }
    const timespec now = systemMonotonic();
    return std::int64_t{now.tv_sec} * 1'000'000 + now.tv_nsec / 1000;
}

void sleepMS(int ms) {
    if (ms > 0) {
        sleepInForce.load()(ms);
    }
}

void pa::setTimeSource(const TimeSource& source) {
    wallClockInForce = source.wallClock != nullptr ? source.wallClock : systemWallClock;
    monotonicInForce = source.monotonicMS != nullptr ? source.monotonicMS : systemMonotonicMS;
    sleepInForce = source.sleepMS != nullptr ? source.sleepMS : systemSleepMS;
}
