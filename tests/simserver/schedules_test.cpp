// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/ScheduleDecoder.h"
#include "simserver/protocol/ScheduleRecord.h"
#include "tests/simserver/Replay.h"

namespace {

using namespace simserver;

struct SchedulesTest : ServerTest {
    SchedulesTest() : ServerTest(smallStation(), {1.0, true, {}, {}, mondayMorning}) {}
};

TEST(ScheduleRecords, HaveALevelOfEncodingForEachSplitOfTheReader) {
    const std::string head = R"(u~"A" 2026:1:5 6:0 2027:12:31 23:59 31 15 1 -20 )";
    const auto reported = [&head](const std::string& parts) {
        Schedule schedule;
        decodeSchedule(R"(1,"u~\"A\"",2026,1,5,6,0,2027,12,31,23,59,31,15,1,"",1,-20,)" + parts,
                       schedule);
        std::string text;
        for (const auto field : scheduleRecord(schedule)) {
            const bool isQuoted = field && field->front() == '"';
            text.append(isQuoted ? decoded(*field) : std::string(field.value_or("-"))).append(" ");
        }
        EXPECT_EQ(text.substr(0, head.size()), head);
        return text.substr(head.size());
    };
    expectTable(reported);
}

TEST_F(SchedulesTest, RefusesWhatItCannotKeepOrPlay) {
    const std::string good =
        R"(5,"u~\"A\"",2026,1,5,6,0,2026,12,31,23,59,127,0,1,"",0,500,)"
        R"("2,ip,\"Hall\",12!1,,""9,ip,\"Hall\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\",,")";
    // What is replaced in a good payload and by what; why it is refused then.
    expectTable(
        [&](const std::string& change) { return refusalOf("92/19 " + changed(good, change)); });
    EXPECT_EQ(refusalOf("92/20 6"), "there is no schedule 6");
}

TEST_F(SchedulesTest, RunWhenTheirTimeComes) {
    eventsOf("connect");
    replay();
    EXPECT_EQ(client.contentOf(4), R"(2,"ip","\"Hallway\"","12!1",-6,1^0^0)");
    EXPECT_NE(
        client.contentOf(6).find(R"(\"K\":{\"type\":\"literal\",\"values\":[{\"text\":\"V\")"),
        std::string::npos)
        << client.contentOf(6);
}

}  // namespace
