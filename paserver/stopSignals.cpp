// SPDX-License-Identifier: Apache-2.0
#include "paserver/stopSignals.h"

#include <csignal>
#include <ctime>

#include "framework/clock.h"

namespace paserver {

namespace {

sigset_t stopSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT}) {
        sigaddset(&set, signal);
    }
    return set;
}

/// Ends the process by the signal.
void endBy(int signal) {
    std::signal(signal, SIG_DFL);
    const sigset_t set = stopSignals();
    std::raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace

void blockStopSignals() {
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

std::optional<int> awaitStopSignal(std::chrono::milliseconds limit) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const timespec tick{seconds.count(), std::chrono::nanoseconds(limit - seconds).count()};
    const sigset_t set = stopSignals();
    const int signal = sigtimedwait(&set, nullptr, &tick);
    return signal > 0 ? std::optional(signal) : std::nullopt;
}

void awaitEnd(const std::function<bool()>& hasEnded) {
    constexpr std::chrono::milliseconds tick{50};
    constexpr std::int64_t sameMS = 100;
    const std::int64_t startMS = pa::monotonicMS();
    while (!hasEnded()) {
        const auto signal = awaitStopSignal(tick);
        if (signal && pa::monotonicMS() > startMS + sameMS) {
            endBy(*signal);
        }
    }
}

}  // namespace paserver
