// SPDX-License-Identifier: Apache-2.0
#include "client/scheduleTimes.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <date/date.h>
#include <stdexcept>
#include <vector>

#include "client/letterCase.h"

namespace paclient {

namespace {

constexpr std::array<const char*, 7> dayNames = {"mon", "tue", "wed", "thu", "fri", "sat", "sun"};
constexpr const char* daily = "daily";
constexpr std::size_t fewestInRange = 3;

/// Reads a text of the same form as a pattern, where # is any digit and any other character
/// itself.
/// @return the numbers in order; nothing when it has another form
std::optional<std::vector<int>> numbersIn(const std::string& text, const std::string& pattern) {
    if (text.size() != pattern.size()) {
        return std::nullopt;
    }
    std::vector<int> numbers;
    bool inNumber = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == '#' ? !isDigit : text[i] != pattern[i]) {
            return std::nullopt;
        }
        if (isDigit && !inNumber) {
            numbers.push_back(0);
        }
        if (isDigit) {
            numbers.back() = numbers.back() * 10 + (text[i] - '0');
        }
        inNumber = isDigit;
    }
    return numbers;
}

template <class Part>
void requireReal(const Part& part) {
    const std::string fault = faultOf(part);
    if (!fault.empty()) {
        throw std::invalid_argument(fault);
    }
}

std::size_t dayNamed(const std::string& name) {
    const auto* const found = std::find(dayNames.begin(), dayNames.end(), lowered(name));
    if (found == dayNames.end()) {
        throw std::invalid_argument("'" + name +
                                    "' is no day: mon, tue, wed, thu, fri, sat, sun, or daily");
    }
    return static_cast<std::size_t>(found - dayNames.begin());
}

/// One day, or a range of days, which may pass the end of the week.
int maskOf(const std::string& range) {
    const std::size_t dash = range.find('-');
    const std::size_t first = dayNamed(range.substr(0, dash));
    const std::size_t last = dash == std::string::npos ? first : dayNamed(range.substr(dash + 1));
    int mask = 0;
    for (std::size_t day = first;; day = (day + 1) % dayNames.size()) {
        mask |= 1 << day;
        if (day == last) {
            return mask;
        }
    }
}

}  // namespace

DateTime parseDateTime(const std::string& text) {
    constexpr const char* datePattern = "####-##-##";
    constexpr const char* timePattern = "##:##";
    const std::size_t separator = text.find('T');
    const bool hasBoth = separator != std::string::npos;
    const auto date = numbersIn(text.substr(0, separator), datePattern);
    const auto time = numbersIn(hasBoth ? text.substr(separator + 1) : text, timePattern);
    if (hasBoth ? !date || !time : !date && !time) {
        throw std::invalid_argument(
            "'" + text + "' is not a date and time like 2026-12-01T06:00, nor one of both");
    }
    DateTime result;
    if (date) {
        result.date = Date{date->at(0), date->at(1), date->at(2)};
        requireReal(*result.date);
    }
    if (time) {
        result.time = TimeOfDay{time->at(0), time->at(1)};
        requireReal(*result.time);
    }
    return result;
}

std::string faultOf(const Date& date) {
    constexpr int earliest = 1970;
    constexpr int latest = 9999;
    const bool fits = date.year >= earliest && date.year <= latest && date.month >= 1 &&
                      date.month <= 12 && date.day >= 1 && date.day <= 31;
    const bool exists = fits && (date::year(date.year) / date.month / date.day).ok();
    if (exists) {
        return {};
    }
    const bool isTooEarlyOrLate = date.year < earliest || date.year > latest;
    return dateText(date) +
           (isTooEarlyOrLate ? " is not in the years 1970 to 9999" : " does not exist");
}

std::string faultOf(const TimeOfDay& time) {
    const bool exists = time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60;
    return exists ? "" : timeText(time) + " is no time of day";
}

std::string dateText(const Date& date) {
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
    return text;
}

std::string timeText(const TimeOfDay& time) {
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d", time.hour, time.minute);
    return text;
}

int parseDays(const std::string& text) {
    if (lowered(text) == daily) {
        return everyDay;
    }
    int mask = 0;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        mask |= maskOf(text.substr(at, end - at));
        at = end + 1;
    }
    return mask;
}

std::string daysText(int mask) {
    if (mask == everyDay) {
        return daily;
    }
    if (mask <= 0 || mask > everyDay) {
        return std::to_string(mask);
    }
    std::string text;
    const auto add = [&text](const std::string& days) { text += (text.empty() ? "" : ",") + days; };
    const auto has = [mask](std::size_t day) {
        return day < dayNames.size() && (mask & (1 << day)) != 0;
    };
    for (std::size_t day = 0; day < dayNames.size(); ++day) {
        std::size_t end = day;
        while (has(end)) {
            ++end;
        }
        if (end - day >= fewestInRange) {
            add(dayNames.at(day) + std::string("-") + dayNames.at(end - 1));
            day = end;
        } else if (has(day)) {
            add(dayNames.at(day));
        }
    }
    return text;
}

Date startDate(const ScheduleDefinition& schedule) {
    return {schedule.startYear, schedule.startMonth, schedule.startDay};
}

Date endDate(const ScheduleDefinition& schedule) {
    return {schedule.endYear, schedule.endMonth, schedule.endDay};
}

TimeOfDay startTime(const ScheduleDefinition& schedule) {
    return {schedule.startHour, schedule.startMinute};
}

TimeOfDay endTime(const ScheduleDefinition& schedule) {
    return {schedule.endHour, schedule.endMinute};
}

}  // namespace paclient
