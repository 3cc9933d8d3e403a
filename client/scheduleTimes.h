#pragma once

#include <optional>
#include <string>

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
DateTime parseDateTime(const std::string& text);

/// Why there is no such date or time of day, for example "2026-02-31 does not exist"; empty when
/// there is.
std::string faultOf(const Date& date);
/// The same of a time of day.
std::string faultOf(const TimeOfDay& time);

/// As `2026-12-01`.
std::string dateText(const Date& date);
/// As `06:00`.
std::string timeText(const TimeOfDay& time);

/// `mon-fri,sun` or `daily`, in any case, as a mask: bit 0 is Monday.
/// @throws std::invalid_argument with the reason
int parseDays(const std::string& text);

/// The same as text; a mask that is not one of days is written as its number.
std::string daysText(int mask);

constexpr int everyDay = 0b1111111;  ///< the mask of all days

/// First day of a schedule.
Date startDate(const ScheduleDefinition& schedule);
/// Its last day.
Date endDate(const ScheduleDefinition& schedule);
/// First run of each day.
TimeOfDay startTime(const ScheduleDefinition& schedule);
/// End of each day's runs.
TimeOfDay endTime(const ScheduleDefinition& schedule);

}  // namespace paclient
