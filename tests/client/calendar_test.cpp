#include "client/Calendar.h"

#include <cstdio>

#include "client/StationClock.h"
#include "framework/clock.h"
#include "tests/simserver/tables.h"
#include "tests/support/schedules.h"

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
    expectResults(runs, R"~(
# Each day once, from the first day to the last. The start day may be far ahead.
UTC 2026-01-05T06:00 2026-01-07T23:59 127 0 2001-01-01T00:00 | 1/5,6:0 1/6,6:0 1/7,6:0 .
# Bit 0 is Monday, bit 6 Sunday.
UTC 2026-01-01T06:00 2026-01-18T06:00 1  0 2026-01-01T00:00 | 1/5,6:0 1/12,6:0 .
UTC 2026-01-01T06:00 2026-01-18T06:00 64 0 2026-01-04T06:00 | 1/11,6:0 1/18,6:0 .
# Repetitions last to the end of the day's window, the end included.
UTC 2026-01-05T06:00 2026-01-05T08:00 127 60 2026-01-05T05:59 | 1/5,6:0 1/5,7:0 1/5,8:0 .
UTC 2026-01-05T06:00 2026-01-06T07:59 127 60 2026-01-05T06:30 | 1/5,7:0 1/6,6:0 1/6,7:0 .
# A window that passes midnight belongs to the day on which it begins.
UTC 2026-01-04T22:00 2026-01-06T05:00 1 180 2026-01-04T22:00 | 1/5,22:0 1/6,1:0 1/6,4:0 .
# 02:00 to 03:00 is skipped: right after it, and once.
Europe/Berlin 2026-03-28T02:30 2026-03-30T02:30 127 0 2026-03-01T00:00 | 3/28,1:30 3/29,1:0 3/30,0:30 .
Europe/Berlin 2026-03-29T01:30 2026-03-29T03:30 127 30 2026-03-29T00:00 | 3/29,0:30 3/29,1:0 3/29,1:30 .
# 02:00 to 03:00 occurs twice: at the first of them.
Europe/Berlin 2026-10-25T02:00 2026-10-25T03:00 127 30 2026-10-24T00:00 | 10/25,0:0 10/25,0:30 10/25,2:0 .
# A whole day is skipped.
Pacific/Apia 2011-12-29T08:00 2011-12-31T08:00 127 0 2011-12-01T00:00 | 12/29,18:0 12/30,10:0 12/30,18:0 .
Europe/Atlantis 2026-01-01T00:00 2026-01-01T00:00 127 0 2026-01-01T00:00 | unknown time zone "Europe/Atlantis"
)~");
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
    expectResults(described, R"(
1796081400 Europe/Berlin | 2026-12-01T00:30 Europe/Berlin, 2026-12-01, 2026-12-01T06:00.
1796081429 America/New_York | 2026-11-30T18:31 America/New_York, 2026-11-30, 2026-12-01T06:00.
1798761600 Europe/Berlin | 2027-01-01T01:00 Europe/Berlin, 2027-01-01, .
1796081400 Europe/Atlantis | 2026-11-30T23:30 UTC, 2026-11-30, .
soon UTC | 2001-09-09T01:47 UTC, 2001-09-09, 2026-12-01T06:00.
253402300800 UTC | 2001-09-09T01:47 UTC, 2001-09-09, 2026-12-01T06:00.
)");
    s.startMonth = 11;
    s.startDay = 31;  // does not exist
    EXPECT_EQ(described("1796081400 UTC"), "2026-11-30T23:30 UTC, 2026-11-30, .");
    pa::setTimeSource({});
}

}  // namespace
