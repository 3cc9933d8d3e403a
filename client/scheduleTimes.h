// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "../framework/api.h"
#include "../sdk/ScheduleDefinition.h"

/// @file
/// Dates, times of day and days of the week: from and to text, in the forms of ISO 8601.
/// Nothing depends on the locale. Every function may be called from any thread.

namespace paclient {

/// A day.
struct Date {
    int year;   ///< for example 2026
    int month;  ///< 1 to 12
    int day;    ///< 1 to 31
};

/// A time of day, in minutes.
struct TimeOfDay {
    int hour;    ///< 0 to 23
    int minute;  ///< 0 to 59
};

/// A date, a time of day, or both.
struct DateTime {
    std::optional<Date> date;       ///< the part before the "T"
    std::optional<TimeOfDay> time;  ///< the part after it
};

/// `2026-12-01`, `06:00` or `2026-12-01T06:00`, as in ISO 8601.
/// @throws std::invalid_argument with the reason, for example "24:00 is no time of day"
PA_API DateTime parseDateTime(const std::string& text);

/// Why there is no such date or time of day, for example "2026-02-31 does not exist"; empty when
/// there is.
PA_API std::string faultOf(const Date& date);
/// The same of a time of day.
PA_API std::string faultOf(const TimeOfDay& time);

/// As `2026-12-01`.
PA_API std::string dateText(const Date& date);
/// As `06:00`.
PA_API std::string timeText(const TimeOfDay& time);

/// `mon-fri,sun` or `daily`, in any case, as a mask: bit 0 is Monday.
/// @throws std::invalid_argument with the reason
PA_API int parseDays(const std::string& text);

/// The same as text; a mask that is not one of days is written as its number.
PA_API std::string daysText(int mask);

constexpr int everyDay = 0b1111111;  ///< the mask of all days

/// First day of a schedule.
PA_API Date startDate(const ScheduleDefinition& schedule);
/// Its last day.
PA_API Date endDate(const ScheduleDefinition& schedule);
/// First run of each day.
PA_API TimeOfDay startTime(const ScheduleDefinition& schedule);
/// End of each day's runs.
PA_API TimeOfDay endTime(const ScheduleDefinition& schedule);

}  // namespace paclient
