// SPDX-License-Identifier: Apache-2.0
#include "simserver/SimClock.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "framework/clock.h"

namespace simserver {

namespace {

double checked(double speed) {
    if (!std::isfinite(speed) || speed <= 0.0) {
        throw std::invalid_argument("the speed of the simulated server must be above 0");
    }
    return speed;
}

}  // namespace

SimClock::SimClock(const Options& options)
    : speed_(checked(options.speed)),
      manual_(options.manualTime),
      epoch_(options.clock.value_or(pa::wallClock())),
      startMS_(pa::monotonicMS()) {}

void SimClock::reach(SimTime time) {
    now_ = std::max(now_, time);
}

SimTime SimClock::target() const {
    if (manual_) {
        return now_;
    }
    const double passed = static_cast<double>(pa::monotonicMS() - startMS_) * speed_;
    return SimTime(
        static_cast<SimTime::rep>(std::min(passed, static_cast<double>(longest.count()))));
}

double SimClock::realMSUntil(SimTime time) const {
    return static_cast<double>((time - now_).count()) / speed_;
}

std::time_t SimClock::wallTime() const {
    return epoch_ + std::chrono::duration_cast<std::chrono::seconds>(now_).count();
}

std::string SimClock::speedText() const {
    std::array<char, 32> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), speed_);
    return std::string(text.data(), result.ptr);
}

}  // namespace simserver
