#include "console/schedule/stationClock.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <mutex>
#include <optional>
#include <stdexcept>

#include "framework/clock.h"
#include "simserver/schedules/Calendar.h"

namespace console {

namespace {

using simserver::Calendar;
using simserver::LocalMinute;

/// The clock of the station, which goes on by itself.
struct StationClock {
    std::optional<Calendar> calendar;
    std::time_t start = 0;
    double speed = 1;
    std::chrono::steady_clock::time_point begun;

    std::time_t now() const {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begun;
        return start + static_cast<std::time_t>(std::floor(passed.count() * speed));
    }
};

struct Guarded {
    std::mutex lock;
    StationClock clock;  // guarded by lock
};

Guarded& guarded() {
    static Guarded instance;
    return instance;
}

StationClock stationClock() {
    Guarded& shared = guarded();
    const std::lock_guard guard(shared.lock);
    return shared.clock;
}

std::optional<Calendar> calendarOf(const std::string& timeZone) try {
    return Calendar(timeZone);
} catch (const std::runtime_error&) {
    return std::nullopt;
}

LocalMinute minuteOf(const Date& date, const TimeOfDay& time) {
    return {date.year, date.month, date.day, time.hour, time.minute};
}

/// Whether the times of a schedule, whoever has made it, can be reckoned with.
bool isSound(const ScheduleDefinition& schedule) {
    return faultOf(startDate(schedule)).empty() && faultOf(endDate(schedule)).empty() &&
           faultOf(startTime(schedule)).empty() && faultOf(endTime(schedule)).empty() &&
           schedule.frequency >= 0 && schedule.dayMask > 0 && schedule.dayMask <= everyDay;
}

}  // namespace

void setStationClock(const KeyValueMap& serverInfo, double speed) {
    StationClock clock;
    clock.calendar = calendarOf(serverInfo.get_value("timeZone"));
    clock.start = pa::wallClock();
    clock.speed = speed;
    clock.begun = std::chrono::steady_clock::now();
    const std::string told = serverInfo.get_value("clock");
    std::from_chars(told.data(), told.data() + told.size(), clock.start);
    Guarded& shared = guarded();
    const std::lock_guard guard(shared.lock);
    shared.clock = clock;
}

Date stationDate() {
    const StationClock clock = stationClock();
    const LocalMinute now = clock.calendar.value_or(Calendar("UTC")).minuteAt(clock.now());
    return {now.year, now.month, now.day};
}

std::string nextRunText(const ScheduleDefinition& schedule) {
    const StationClock clock = stationClock();
    if (!clock.calendar || !isSound(schedule)) {
        return {};
    }
    const auto run = clock.calendar->nextRun(
        {minuteOf(startDate(schedule), startTime(schedule)),
         minuteOf(endDate(schedule), endTime(schedule)), schedule.dayMask, schedule.frequency},
        clock.now());
    if (!run) {
        return {};
    }
    const LocalMinute local = clock.calendar->minuteAt(*run);
    return dateText({local.year, local.month, local.day}) + 'T' +
           timeText({local.hour, local.minute});
}

}  // namespace console
