// SPDX-License-Identifier: Apache-2.0
#include "client/Calendar.h"

#include <cstdio>

#include "client/StationClock.h"
#include "framework/clock.h"
#include "tests/support/schedules.h"
#include "tests/support/tables.h"

namespace {

using namespace paclient;

LocalMinute minuteIn(const std::string& text) {
    LocalMinute m;
    std::sscanf(text.c_str(), "%d-%d-%dT%d:%d", &m.year, &m.month, &m.day, &m.hour, &m.minute);
    return m;
}

/// "zone start end mask frequency moment": the runs after a moment, nine at most; all in UTC but
/// start and end.
std::string runs(const std::string& given) {
    std::istringstream words(given);
    std::string zone, start, end, moment;
    RunTimes times;
    words >> zone >> start >> end >> times.dayMask >> times.frequency >> moment;
    times.start = minuteIn(start);
    times.end = minuteIn(end);
    const Calendar calendar(zone);
    const Calendar utc("UTC");
    std::ostringstream text;
    auto run = calendar.nextRun(times, utc.momentOf(minuteIn(moment)));
    for (int count = 0; run && count < 9; ++count) {
        const LocalMinute at = utc.minuteAt(*run);
        EXPECT_EQ(utc.momentOf(at), *run);  // whole minutes
        text << at.month << "/" << at.day << "," << at.hour << ":" << at.minute << " ";
        run = calendar.nextRun(times, *run);
    }
    return text.str() + ".";
}

TEST(Calendar, FindsTheRunsOfASchedule) {
    expectTable(runs);
}

std::int64_t passedMS = 0;

TEST(StationClock, IsThatOfTheServerAndKnowsWhenASchedulePlaysNext) {
    // Of this machine: 2001-09-09T01:46 UTC.
    pa::setTimeSource(
        {[] { return std::time_t{1'000'000'000}; }, [] { return passedMS; }, nullptr});
    ScheduleDefinition s = schedule();  // daily at 06:00 from 2026-12-01 to 2026-12-31
    const auto described = [&s](const std::string& reported) {
        const std::size_t blank = reported.find(' ');
        KeyValueMap info;
        info.set("clock", reported.substr(0, blank));
        info.set("clockMS", reported.substr(0, blank) + "750");
        info.set("timeZone", reported.substr(blank + 1));
        info.set("speed", "60");
        const StationClock clock(info);
        passedMS += 505;  // 30.3 s of the station
        return clock.momentText(clock.now()) + ", " + dateText(clock.date()) + ", " +
               clock.nextRunText(s) + ".";
    };
    expectTable(described);
    s.startMonth = 11;
    s.startDay = 31;  // does not exist
    EXPECT_EQ(described("1796081400 UTC"), "2026-11-30T23:30 UTC, 2026-11-30, .");
    pa::setTimeSource({});
}

}  // namespace
