// SPDX-License-Identifier: Apache-2.0
#include "client/StationClock.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "framework/clock.h"

namespace paclient {

namespace {

constexpr const char* utc = "UTC";
constexpr std::int64_t msPerSecond = 1000;
constexpr std::int64_t endOfYear9999 = 253402300800;  // dates have four digits of the year

struct Guarded {
    std::mutex lock;
    StationClock clock;  // guarded by lock
};

/// Never destroyed: other threads may ask for the clock while the process ends.
Guarded& guarded() {
    static Guarded& instance = *new Guarded;
    return instance;
}

/// The name, or nothing when there is no such time zone.
std::string knownZone(const std::string& name) try {
    const Calendar calendar(name);
    return name;
} catch (const std::runtime_error&) {
    return {};
}

/// 0 when the text does not begin with a number.
std::int64_t wholeNumber(const std::string& text) {
    std::int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

LocalMinute minuteOf(const Date& date, const TimeOfDay& time) {
    return {date.year, date.month, date.day, time.hour, time.minute};
}

std::string minuteText(const LocalMinute& minute) {
    return dateText({minute.year, minute.month, minute.day}) + 'T' +
           timeText({minute.hour, minute.minute});
}

/// Whether a schedule, of any origin, has times that exist.
bool isSound(const ScheduleDefinition& schedule) {
    return faultOf(startDate(schedule)).empty() && faultOf(endDate(schedule)).empty() &&
           faultOf(startTime(schedule)).empty() && faultOf(endTime(schedule)).empty() &&
           schedule.frequency >= 0 && schedule.dayMask > 0 && schedule.dayMask <= everyDay;
}

}  // namespace

StationClock::StationClock() : StationClock(KeyValueMap()) {}

StationClock::StationClock(const KeyValueMap& serverInfo)
    : startMS_(pa::wallClock() * msPerSecond),
      begunMS_(pa::monotonicMS()),
      timeZone_(knownZone(serverInfo.get_value("timeZone"))),
      calendar_(timeZone_.empty() ? utc : timeZone_) {
    const std::int64_t moment = wholeNumber(serverInfo.get_value("clock"));
    if (moment > 0 && moment < endOfYear9999) {
        const std::int64_t momentMS = wholeNumber(serverInfo.get_value("clockMS"));
        startMS_ = momentMS / msPerSecond == moment ? momentMS : moment * msPerSecond;
    }
    const std::string reportedSpeed = serverInfo.get_value("speed");
    double speed = 0;
    std::from_chars(reportedSpeed.data(), reportedSpeed.data() + reportedSpeed.size(), speed);
    if (speed > 0 && std::isfinite(speed)) {
        speed_ = speed;
    }
}

std::time_t StationClock::now() const {
    const auto passed = static_cast<double>(pa::monotonicMS() - begunMS_);
    const auto passedMS = static_cast<std::int64_t>(std::floor(passed * speed_));
    return static_cast<std::time_t>((startMS_ + passedMS) / msPerSecond);
}

Date StationClock::date() const {
    const LocalMinute minute = calendar_.minuteAt(now());
    return {minute.year, minute.month, minute.day};
}

std::string StationClock::momentText(std::time_t moment) const {
    return minuteText(calendar_.minuteAt(moment)) + ' ' + (timeZone_.empty() ? utc : timeZone_);
}

std::string StationClock::momentText(const std::string& reported) const try {
    constexpr std::size_t dateLength = 10;
    constexpr std::size_t minuteLength = 16;
    std::string minute = reported.substr(0, minuteLength);
    if (reported.size() < minuteLength || std::exchange(minute[dateLength], 'T') != ' ') {
        return reported;
    }
    const DateTime moment = parseDateTime(minute);
    return momentText(Calendar(utc).momentOf(minuteOf(moment.date.value(), moment.time.value())));
} catch (const std::invalid_argument&) {
    return reported;
}

std::string StationClock::secondText(std::time_t moment) const {
    constexpr int digits = 2;
    const std::string second = std::to_string(moment % 60);
    return minuteText(calendar_.minuteAt(moment)) + ':' + std::string(digits - second.size(), '0') +
           second;
}

std::vector<std::string> StationClock::runTexts(const ScheduleDefinition& schedule,
                                                std::time_t after, std::size_t count) const {
    std::vector<std::string> texts;
    if (timeZone_.empty() || !isSound(schedule)) {
        return texts;
    }
    const RunTimes times{minuteOf(startDate(schedule), startTime(schedule)),
                         minuteOf(endDate(schedule), endTime(schedule)), schedule.dayMask,
                         schedule.frequency};
    for (auto run = calendar_.nextRun(times, after); run && texts.size() < count;
         run = calendar_.nextRun(times, *run)) {
        texts.push_back(minuteText(calendar_.minuteAt(*run)));
    }
    return texts;
}

std::string StationClock::nextRunText(const ScheduleDefinition& schedule) const {
    const std::vector<std::string> runs = runTexts(schedule, now(), 1);
    return runs.empty() ? std::string() : runs.front();
}

StationClock stationClock() {
    Guarded& shared = guarded();
    const std::lock_guard guard(shared.lock);
    return shared.clock;
}

void setStationClock(const StationClock& clock) {
    Guarded& shared = guarded();
    const std::lock_guard guard(shared.lock);
    shared.clock = clock;
}

std::string startText(const AnnouncementRequest& request) {
    return stationClock().momentText(request.startDateTime);
}

}  // namespace paclient
