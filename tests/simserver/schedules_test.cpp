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
    expectResults(reported, R"~(
"2,10.0.0.5,\"Y\"^\"Z\",12^40!2,-3.5,Ding, dong"
    | 2,"10.0.0.5","\"\\\"Y\\\"^\\\"Z\\\"\"","12^40!2",-3.5,"\"Ding, dong\"" - ...
"4,ip,\"Z\",\"en^Ann^48000^\\\"Hi\\\"\"!\"de^Ute^48000^\\\"Ja\\\"\",,"
    | 4,"ip","\"\\\"Z\\\"\"","\"\\\"en\\\"^\\\"Ann\\\"^\\\"48000\\\"^\\\"Hi\\\"\"!\"\\\"de\\\"^\\\"Ute\\\"^\\\"48000\\\"^\\\"Ja\\\"\"",, - ...
# A path is not encoded: its commas and quotes end nothing.
"1,ip,\"Z\",7^/a,b\"c^d.wav,0,"   | 1,"ip","\"\\\"Z\\\"\"","7^\"/a,b\\\"c^d.wav\"",0, - ...
"9,ip,\"Z\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\",,"
    | - 9,"ip","\"\\\"Z\\\"\"","\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\"",, ...
)~");
}

TEST_F(SchedulesTest, RefusesWhatItCannotKeepOrPlay) {
    const std::string good =
        R"(5,"u~\"A\"",2026,1,5,6,0,2026,12,31,23,59,127,0,1,"",0,500,)"
        R"("2,ip,\"Hall\",12!1,,""9,ip,\"Hall\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\",,")";
    // What is replaced in a good payload and by what; why it is refused then.
    expectResults(
        [&](const std::string& change) { return refusalOf("92/19 " + changed(good, change)); },
        R"~(
5,"u => x,"u           | new schedule: id: "x" is not a number
2026,1,5 => 2026,2,29  | schedule 5: start: there is no day 2026-02-29
12,31,23,59 => 1,5,5,59 | schedule 5: the end, 2026-01-05 05:59, is before the start, 2026-01-05 06:00
59,127 => 59,128       | schedule 5: day mask 128 names no day of the week
"2,ip => "3,ip         | schedule 5: part 1: content: a schedule does not play type Display
ip,\"Hall\",12!1,,"" => ip"" | schedule 5: part 1: zones: missing
12!1,,""9 => 12!1,,""2,ip,\"Hall\",12!1,,""9 | schedule 5: expected an audio part, a visual part, or both in this order
ip,\"Hall\" => ip,\"Moon\" | schedule 5: unknown zone "Moon"
12!1,, => 12!1,,Four   | schedule 5: unknown chime "Four"
5,"u => 5,"v           | done
)~");
    EXPECT_EQ(refusalOf("92/20 6"), "there is no schedule 6");
}

TEST_F(SchedulesTest, RunWhenTheirTimeComes) {
    eventsOf("connect");
    replay(R"~(
92/19 0,"u~\"\"",2026,1,5,6,0,2026,1,6,6,2,127,1,1,"",0,500,"2,ip,\"Hallway\",12!1,-6,Chime"
    | schedule: 1
92/19 0,"u~\"\"",2026,1,5,6,0,2026,1,5,6,0,1,0,1,"",1,99,"2,ip,\"Hallway\",40!1,," | schedule: 2
+29999 |
+1 | part: 1 schedule-1-1 Queued Playing, 2 schedule-2-2 Queued,
    1 Pre-empted 2 "pre-empted by schedule-2-2 (Relative +99)" deleted, 2 Playing / zone: 4 Dictionary
+2000 | part: 2 Finished 0 "played to its end" deleted / zone: 4 None
+118000 | part: 3 schedule-1-3 Queued Playing / zone: 4 Dictionary
    / part: 3 Finished 0 "played to its end" deleted / zone: 4 None
    / part: 4 schedule-1-4 Queued Playing / zone: 4 Dictionary
+1499 |
+1 | part: 4 Finished 0 "played to its end" deleted / zone: 4 None
92/19 3,"u~\"\"",2026,1,6,6,0,2026,1,6,6,0,127,0,1,"",0,500,"2,ip,\"Yard\",12!1,," | schedule: 3
92/19
    3,"u~\"\"",2026,1,6,6,1,2026,1,6,6,1,127,0,1,"",0,500,"1,ip,\"Yard\",0^/lost.wav,,""9,ip,\"Yard\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!1\",," | schedule: 3
92/20 1 | schedule: 1 deleted
+90000000 | part: 5 schedule-3-5 Queued, 6 schedule-3-5 Queued,
    5 Failed 3 "\"/lost.wav\" is not on this server" deleted, 6 Playing / zone: 5 Display template
    / part: 6 Finished 0 "played to its end" deleted / zone: 5 None
)~");
    EXPECT_EQ(client.contentOf(4), R"(2,"ip","\"Hallway\"","12!1",-6,1^0^0)");
    EXPECT_NE(
        client.contentOf(6).find(R"(\"K\":{\"type\":\"literal\",\"values\":[{\"text\":\"V\")"),
        std::string::npos)
        << client.contentOf(6);
}

}  // namespace
