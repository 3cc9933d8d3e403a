#pragma once

#include <optional>
#include <string>

#include "sdk/ScheduleDefinition.h"

/// @file
/// Dates, times of day and days of the week, as they are typed and shown.

namespace console {

struct Date {
    int year;
    int month;
    int day;
};

struct TimeOfDay {
    int hour;
    int minute;
};

/// What is typed for a moment: a date, a time of day, or both.
struct DateTime {
    std::optional<Date> date;
    std::optional<TimeOfDay> time;
};

/// `2026-12-01`, `06:00` or `2026-12-01T06:00`, as in ISO 8601.
/// @throws wrongValue that names the option, with what is wrong
DateTime parseDateTime(const std::string& option, const std::string& text);

/// Why there is no such date or time of day, for example "2026-02-31 does not exist"; empty when
/// there is.
std::string faultOf(const Date& date);
std::string faultOf(const TimeOfDay& time);

std::string dateText(const Date& date);
std::string timeText(const TimeOfDay& time);

/// `mon-fri,sun` or `daily` as a mask: bit 0 is Monday.
/// @throws wrongValue as above
int parseDays(const std::string& option, const std::string& text);

/// The same as text; a mask that is none of days as its number.
std::string daysText(int mask);

constexpr int everyDay = 0b1111111;

Date startDate(const ScheduleDefinition& schedule);
Date endDate(const ScheduleDefinition& schedule);
TimeOfDay startTime(const ScheduleDefinition& schedule);
TimeOfDay endTime(const ScheduleDefinition& schedule);

}  // namespace console
