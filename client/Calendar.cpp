// SPDX-License-Identifier: Apache-2.0
#include "client/Calendar.h"

#include <algorithm>
#include <chrono>
#include <date/tz.h>

namespace paclient {

namespace {

using std::chrono::minutes;
using std::chrono::seconds;

const date::time_zone* zoneNamed(const std::string& name) {
    try {
        return date::locate_zone(name);
    } catch (const std::runtime_error&) {
        throw std::runtime_error("unknown time zone \"" + name + "\"");
    }
}

date::local_days dayOf(const LocalMinute& time) {
    return date::local_days(date::year(time.year) / time.month / time.day);
}

minutes timeOfDay(const LocalMinute& time) {
    return std::chrono::hours(time.hour) + minutes(time.minute);
}

bool isNamed(int dayMask, date::local_days day) {
    const unsigned fromMonday = date::weekday(day).iso_encoding() - 1;
    return ((static_cast<unsigned>(dayMask) >> fromMonday) & 1U) != 0;
}

date::sys_seconds momentAt(const date::time_zone& zone, date::local_seconds local) {
    return zone.to_sys(local, date::choose::earliest);
}

/// The time from the first run of a day to the last moment at which one may begin.
minutes windowOf(const RunTimes& times) {
    const minutes length = timeOfDay(times.end) - timeOfDay(times.start);
    return length < minutes(0) ? length + date::days(1) : length;
}

/// The first run after a moment, of those that begin on a day.
std::optional<std::time_t> nextRunOf(date::local_days day, const RunTimes& times,
                                     const date::time_zone& zone, date::sys_seconds after) {
    const date::local_seconds first = day + timeOfDay(times.start);
    const minutes step(times.frequency);
    const int last = times.frequency == 0 ? 0 : static_cast<int>(windowOf(times) / step);
    const seconds passed = zone.to_local(after) - first;
    const int reached = passed < seconds(0) || last == 0
                            ? 0
                            : static_cast<int>(std::min<seconds::rep>(passed / step, last));
    for (int run = reached; run <= last; ++run) {
        const date::sys_seconds moment = momentAt(zone, first + run * step);
        if (moment > after) {
            return moment.time_since_epoch().count();
        }
    }
    return std::nullopt;
}

}  // namespace

Calendar::Calendar(const std::string& timeZone) : zone_(zoneNamed(timeZone)) {}

std::time_t Calendar::momentOf(const LocalMinute& minute) const {
    const date::local_seconds local = dayOf(minute) + timeOfDay(minute);
    return momentAt(*zone_, local).time_since_epoch().count();
}

LocalMinute Calendar::minuteAt(std::time_t moment) const {
    const date::local_seconds local = zone_->to_local(date::sys_seconds{seconds(moment)});
    const auto midnight = date::floor<date::days>(local);
    const date::year_month_day day(midnight);
    const date::hh_mm_ss<seconds> time(local - midnight);
    return {static_cast<int>(day.year()), static_cast<int>(static_cast<unsigned>(day.month())),
            static_cast<int>(static_cast<unsigned>(day.day())),
            static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count())};
}

std::optional<std::time_t> Calendar::nextRun(const RunTimes& times, std::time_t after) const {
    const date::sys_seconds moment{seconds(after)};
    const auto today = date::floor<date::days>(zone_->to_local(moment));
    // Yesterday's runs may pass midnight; and each day of the week is among the days that follow.
    const date::local_days from = std::max(dayOf(times.start), today - date::days(1));
    const date::local_days to = std::min(dayOf(times.end), from + date::days(9));
    for (date::local_days day = from; day <= to; day += date::days(1)) {
        if (!isNamed(times.dayMask, day)) {
            continue;
        }
        if (const auto run = nextRunOf(day, times, *zone_, moment)) {
            return run;
        }
    }
    return std::nullopt;
}

}  // namespace paclient
