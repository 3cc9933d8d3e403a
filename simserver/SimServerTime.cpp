// SPDX-License-Identifier: Apache-2.0
/// The time of the simulated server: its clock thread, and what falls due.

#include <algorithm>
#include <cmath>

#include "framework/clock.h"
#include "simserver/SimServer.h"
#include "simserver/earliest.h"

namespace simserver {

void SimServer::advance(SimTime simulated) {
    const std::lock_guard guard(lock_);
    playUntil(context_.clock.now() + std::clamp(simulated, SimTime{0}, longest));
    catchUp();
}

/// Does everything that is due, by the simulated clock and by the real one.
void SimServer::catchUp() {
    playUntil(context_.clock.target());
    if (sources_.takeLapsed()) {
        settle();
    }
    meters_.takeDue();
}

/// Does what is due until `time`, in order of time.
void SimServer::playUntil(SimTime time) {
    const auto next = [this] {
        return earliest(timed_, [](const TimedPart* part) { return part->nextDue(); });
    };
    for (auto due = next(); due && *due <= time; due = next()) {
        context_.clock.reach(*due);
        for (TimedPart* const part : timed_) {
            part->takeDue();
        }
        sinks_.publishChanges();
        live_.forgetEnded();
    }
    context_.clock.reach(time);
}

/// Reports the effects of a change, and ends what has no duration.
void SimServer::settle() {
    sinks_.publishChanges();
    live_.forgetEnded();
    playUntil(context_.clock.now());
    changed_.notify_all();
}

/// How long the clock thread may wait; nothing when nothing is due.
std::optional<double> SimServer::realMSToNextDue() const {
    std::optional<double> wait;
    if (const auto due = earliest(timed_, [](const TimedPart* part) { return part->nextDue(); })) {
        wait = context_.clock.realMSUntil(*due);
    }
    for (const auto& real : {sources_.nextLapse(), meters_.nextReading()}) {
        if (real) {
            const auto left = static_cast<double>(*real - pa::monotonicMS());
            wait = wait ? std::min(*wait, left) : left;
        }
    }
    return wait;
}

void SimServer::runClock() {
    constexpr double shortestPause = 1.0;      // ms
    constexpr double longestPause = 60'000.0;  // ms
    std::unique_lock guard(lock_);
    while (!stopping_) {
        catchUp();
        const std::optional<double> wait = realMSToNextDue();
        if (!wait) {
            changed_.wait(guard);
            continue;
        }
        changed_.wait_for(guard, std::chrono::duration<double, std::milli>(
                                     std::clamp(std::ceil(*wait), shortestPause, longestPause)));
    }
}

}  // namespace simserver
