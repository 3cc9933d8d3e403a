/// How time passes for the simulated server: its clock thread, and what falls due.

#include <algorithm>
#include <cmath>

#include "framework/clock.h"
#include "simserver/SimServer.h"
#include "simserver/earliest.h"

namespace simserver {

void SimServer::advance(SimTime simulated) {
    const std::lock_guard guard(lock_);
    playUntil(now_ + std::clamp(simulated, SimTime{0}, longest));
    catchUp();
}

/// What the server's wall clock shows.
std::time_t SimServer::wallTime() const {
    return epoch_ + std::chrono::duration_cast<std::chrono::seconds>(now_).count();
}

/// Simulated time by the clock; with manual time what has been let pass.
SimTime SimServer::clockTime() const {
    if (options_.manualTime) {
        return now_;
    }
    const double passed = static_cast<double>(pa::monotonicMS() - startMS_) * options_.speed;
    return SimTime(
        static_cast<SimTime::rep>(std::min(passed, static_cast<double>(longest.count()))));
}

/// The meters are read in real time, so that their feed does not depend on the speed.
std::int64_t SimServer::meterTimeMS() const {
    return options_.manualTime ? now_.count() : pa::monotonicMS();
}

/// Lets everything happen that has fallen due, by the simulated clock and by the real one.
void SimServer::catchUp() {
    playUntil(clockTime());
    lapseLocks();
    readMeters();
}

const SimServer::TimedRow SimServer::timed[] = {
    {&SimServer::nextEnd, &SimServer::playDue},
    {&SimServer::nextReset, &SimServer::endResets},
    {&SimServer::nextTimetableChange, &SimServer::followTimetables},
    {&SimServer::nextSimulatedReading, &SimServer::readMeters},
    {&SimServer::nextRecordingEnd, &SimServer::endRecording},
    {&SimServer::nextScheduledRun, &SimServer::playSchedules},
};

std::optional<SimTime> SimServer::nextDue() const {
    return earliest(timed, [this](const TimedRow& row) { return (this->*row.next)(); });
}

void SimServer::playUntil(SimTime time) {
    for (auto due = nextDue(); due && *due <= time; due = nextDue()) {
        now_ = std::max(now_, *due);
        for (const TimedRow& row : timed) {
            (this->*row.takeDue)();
        }
        tellActivity();
    }
    now_ = std::max(now_, time);
}

std::optional<SimTime> SimServer::nextEnd() const {
    return engine_.nextDue();
}

void SimServer::playDue() {
    engine_.playDue(now_);
}

std::optional<SimTime> SimServer::nextSimulatedReading() const {
    const auto next = options_.manualTime ? meters_.nextReading() : std::nullopt;
    return next ? std::optional(SimTime(*next)) : std::nullopt;
}

void SimServer::readMeters() {
    if (const auto next = meters_.nextReading(); !next || *next > meterTimeMS()) {
        return;
    }
    for (const palink::LevelReading& reading : meters_.read(station_, engine_, meterTimeMS())) {
        tell(reading);
    }
}

/// Tells what a change brought about, and lets pass what lasts no time at all.
void SimServer::settle() {
    tellActivity();
    playUntil(now_);
    changed_.notify_all();
}

/// How long the clock may sleep; nothing when nothing is due at all.
std::optional<double> SimServer::realMSToNextDue() const {
    std::optional<double> wait;
    if (const auto due = nextDue()) {
        wait = static_cast<double>((*due - now_).count()) / options_.speed;
    }
    for (const auto& real : {locks_.nextLapse(), meters_.nextReading()}) {
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
