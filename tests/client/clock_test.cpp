#include "framework/clock.h"

#include <gtest/gtest.h>

#include "client/StationClock.h"
#include "tests/support/schedules.h"

namespace {

using namespace paclient;

std::int64_t passedMS = 0;

class StationClockTest : public testing::Test {
protected:
    StationClockTest() {
        pa::TimeSource time;
        time.wallClock = [] { return std::time_t{1'000'000'000}; };  // 2001-09-09T01:46 UTC
        time.monotonicMS = [] { return passedMS; };
        pa::setTimeSource(time);
    }
    ~StationClockTest() override { pa::setTimeSource({}); }
};

StationClock clockOf(const std::string& clock, const std::string& zone, double speed = 1) {
    KeyValueMap info;
    info.set("clock", clock);
    info.set("timeZone", zone);
    return StationClock(info, speed);
}

TEST_F(StationClockTest, isThatOfTheServer) {
    struct Case {
        const char* clock;
        const char* zone;
        const char* text;
        const char* date;
    };
    const Case cases[] = {
        // 2026-11-30T23:30 UTC
        {"1796081400", "Europe/Berlin", "2026-12-01T00:30 Europe/Berlin", "2026-12-01"},
        {"1796081400", "America/New_York", "2026-11-30T18:30 America/New_York", "2026-11-30"},
        {"1796081400", "Europe/Atlantis", "2026-11-30T23:30 UTC", "2026-11-30"},
        {"1796081400", "", "2026-11-30T23:30 UTC", "2026-11-30"},
        {"", "UTC", "2001-09-09T01:46 UTC", "2001-09-09"},
        {"soon", "UTC", "2001-09-09T01:46 UTC", "2001-09-09"},
    };
    for (const Case& c : cases) {
        const StationClock clock = clockOf(c.clock, c.zone);
        EXPECT_EQ(clock.momentText(clock.now()), c.text);
        EXPECT_EQ(dateText(clock.date()), c.date);
    }
}

TEST_F(StationClockTest, advancesAtItsSpeed) {
    const StationClock clock = clockOf("1796081400", "UTC", 60);
    passedMS += 30'000;
    EXPECT_EQ(clock.momentText(clock.now()), "2026-12-01T00:00 UTC");
}

TEST_F(StationClockTest, saysWhenAScheduleRunsNext) {
    ScheduleDefinition s = schedule();  // daily at 06:00 from 2026-12-01 to 2026-12-31
    EXPECT_EQ(clockOf("1796081400", "Europe/Berlin").nextRunText(s), "2026-12-01T06:00");
    EXPECT_EQ(clockOf("1798761600", "Europe/Berlin").nextRunText(s), "");  // 2027
    EXPECT_EQ(clockOf("1796081400", "").nextRunText(s), "");
    s.startMonth = 13;
    EXPECT_EQ(clockOf("1796081400", "Europe/Berlin").nextRunText(s), "");
}

}  // namespace
