#pragma once

#include <optional>
#include <string>

#include "../framework/api.h"
#include "../sdk/ScheduleDefinition.h"

/// @file
/// Dates, times of day and days of the week: from and to text. Nothing depends on the locale.

namespace paclient {

struct Date {
    int year;
    int month;
    int day;
};

struct TimeOfDay {
    int hour;
    int minute;
};

/// A date, a time of day, or both.
struct DateTime {
    std::optional<Date> date;
    std::optional<TimeOfDay> time;
};

/// `2026-12-01`, `06:00` or `2026-12-01T06:00`, as in ISO 8601.
/// @throws std::invalid_argument with the reason, for example "24:00 is no time of day"
PA_API DateTime parseDateTime(const std::string& text);

/// Why there is no such date or time of day, for example "2026-02-31 does not exist"; empty when
/// there is.
PA_API std::string faultOf(const Date& date);
PA_API std::string faultOf(const TimeOfDay& time);

PA_API std::string dateText(const Date& date);
PA_API std::string timeText(const TimeOfDay& time);

/// `mon-fri,sun` or `daily`, in any case, as a mask: bit 0 is Monday.
/// @throws std::invalid_argument with the reason
PA_API int parseDays(const std::string& text);

/// The same as text; a mask that is not one of days is written as its number.
PA_API std::string daysText(int mask);

constexpr int everyDay = 0b1111111;

PA_API Date startDate(const ScheduleDefinition& schedule);
PA_API Date endDate(const ScheduleDefinition& schedule);
PA_API TimeOfDay startTime(const ScheduleDefinition& schedule);
PA_API TimeOfDay endTime(const ScheduleDefinition& schedule);

}  // namespace paclient
