#pragma once

#include <optional>
#include <string>

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
DateTime parseDateTime(const std::string& text);

/// Why there is no such date or time of day, for example "2026-02-31 does not exist"; empty when
/// there is.
std::string faultOf(const Date& date);
std::string faultOf(const TimeOfDay& time);

std::string dateText(const Date& date);
std::string timeText(const TimeOfDay& time);

/// `mon-fri,sun` or `daily`, in any case, as a mask: bit 0 is Monday.
/// @throws std::invalid_argument with the reason
int parseDays(const std::string& text);

/// The same as text; a mask that is not one of days is written as its number.
std::string daysText(int mask);

constexpr int everyDay = 0b1111111;

Date startDate(const ScheduleDefinition& schedule);
Date endDate(const ScheduleDefinition& schedule);
TimeOfDay startTime(const ScheduleDefinition& schedule);
TimeOfDay endTime(const ScheduleDefinition& schedule);

}  // namespace paclient
