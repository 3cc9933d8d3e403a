#include "client/scheduleTimes.h"

#include <gtest/gtest.h>

#include "tests/support/thrownBy.h"

namespace {

using namespace paclient;

TEST(ScheduleTimes, areReadStrictly) {
    const auto typed = parseDateTime("2028-02-29T06:05");
    EXPECT_EQ(dateText(*typed.date) + ' ' + timeText(*typed.time), "2028-02-29 06:05");
    EXPECT_FALSE(parseDateTime("2026-12-01").time);
    EXPECT_FALSE(parseDateTime("23:59").date);

    const std::pair<const char*, const char*> cases[] = {
        {"2026-02-29", "2026-02-29 does not exist"},
        {"2026-13-01", "2026-13-01 does not exist"},
        {"2026-04-00T06:00", "2026-04-00 does not exist"},
        {"1969-12-31", "1969-12-31 is not in the years 1970 to 9999"},
        {"24:00", "24:00 is no time of day"},
        {"2026-12-01T06:60", "06:60 is no time of day"},
    };
    for (const auto& [text, refusal] : cases) {
        EXPECT_EQ(thrownBy<std::invalid_argument>([&t = text] { parseDateTime(t); }), refusal);
    }
    for (const char* const bad : {"", "T", "6:00", "2026-12-01T", "T06:00", "2026-12-1", "06:00:00",
                                  "2026-12-01 06:00", "2026-12-01T06:00Z", "+026-12-01"}) {
        EXPECT_EQ(thrownBy<std::invalid_argument>([&] { parseDateTime(bad); }),
                  "'" + std::string(bad) +
                      "' is not a date and time like 2026-12-01T06:00, nor one of both");
    }
}

TEST(ScheduleDays, areNamesAndRanges) {
    struct Case {
        const char* typed;
        int mask;
        const char* text;
    };
    const Case cases[] = {{"mon", 1, "mon"},
                          {"mon-fri,sun", 0b1011111, "mon-fri,sun"},
                          {"SAT-Mon", 0b1100001, "mon,sat,sun"},
                          {"tue,wed", 0b0000110, "tue,wed"},
                          {"fri-tue", 0b1110011, "mon,tue,fri-sun"},
                          {"daily", 127, "daily"},
                          {"mon-sun", 127, "daily"}};
    for (const Case& c : cases) {
        EXPECT_EQ(parseDays(c.typed), c.mask) << c.typed;
        EXPECT_EQ(daysText(c.mask), c.text);
    }
    for (const char* const bad : {"", "mon,", "-", "mon-", "monday", "mon fri", "1"}) {
        EXPECT_NE(thrownBy<std::invalid_argument>([&] { parseDays(bad); }).find("is no day"),
                  std::string::npos)
            << bad;
    }
    for (const int mask : {0, 128, -1}) {
        EXPECT_EQ(daysText(mask), std::to_string(mask));
    }
}

}  // namespace
