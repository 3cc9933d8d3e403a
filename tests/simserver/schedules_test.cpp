#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/ScheduleDecoder.h"
#include "simserver/protocol/ScheduleRecord.h"
#include "tests/simserver/Replay.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

constexpr std::time_t mondayMorning = 1767592770;  // 2026-01-05 05:59:30 UTC

struct SchedulesTest : ServerTest {
    SchedulesTest() : ServerTest(smallStation(), {1.0, true, {}, {}, mondayMorning}) {}
};

TEST(ScheduleRecords, HaveALevelOfEncodingForEachSplitOfTheReader) {
    const auto reported = [](const std::string& parts) {
        Schedule schedule;
        decodeSchedule(R"(1,"u~\"A\"",2026,1,5,6,0,2027,12,31,23,59,31,15,1,"",1,-20,)" + parts,
                       schedule);
        std::string text;
        for (const auto& field : scheduleRecord(schedule)) {
            text += " " + (field && field->front() == '"' ? decoded(*field) : field.value_or("-"));
        }
        return text.substr(1);
    };
    const std::string head = R"(u~"A" 2026:1:5 6:0 2027:12:31 23:59 31 15 1 -20 )";
    EXPECT_EQ(reported(R"("2,10.0.0.5,\"Y\"^\"Z\",12^40!2,-3.5,Ding, dong")"),
              head + R"(2,"10.0.0.5","\"\\\"Y\\\"^\\\"Z\\\"\"","12^40!2",-3.5,"\"Ding, dong\"" -)");
    expectResults([&](const std::string& raw) { return reported(raw).substr(head.size()); }, R"~(
"4,ip,\"Z\",\"en^Ann^48000^\\\"Hi\\\"\"!\"de^Ute^48000^\\\"Ja\\\"\",,"
    | 4,"ip","\"\\\"Z\\\"\"","\"\\\"en\\\"^\\\"Ann\\\"^\\\"48000\\\"^\\\"Hi\\\"\"!\"\\\"de\\\"^\\\"Ute\\\"^\\\"48000\\\"^\\\"Ja\\\"\"",, -
# A path is not encoded: its commas and quotes end nothing.
"1,ip,\"Z\",7^/a,b\"c^d.wav,0,"   | 1,"ip","\"\\\"Z\\\"\"","7^\"/a,b\\\"c^d.wav\"",0, -
"9,ip,\"Z\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\",,"
    | - 9,"ip","\"\\\"Z\\\"\"","\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\"",,
"9,ip,\"Z\",\"\\\"\\\"!30\",," | part 1: content: neither a template nor a variable
)~");
}

TEST_F(SchedulesTest, RefusesWhatItCannotKeepOrPlay) {
    const std::string good =
        R"(5,"u~\"A\"",2026,1,5,6,0,2026,12,31,23,59,127,0,1,"",0,500,)"
        R"("2,ip,\"Hall\",12!1,,""9,ip,\"Hall\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"K\\\\\\\\\\\\\\\"=\\\\\\\\\\\\\\\"V\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\",,")";
    // What is replaced in a good payload and by what; why it is refused then.
    const auto refusal = [&](const std::string& change) {
        return server.operateAsOther({-1, pa::operations::putSchedule, 1, changed(good, change)})
            .value_or("done");
    };
    expectResults(refusal, R"~(
5,"u => x,"u           | new schedule: id: "x" is not a number
5,"u => -5,"u          | schedule -5: negative id
\"A\"" => \"A\"        | schedule 5: 4 fields; expected 19
5,"u~\"A\"" => 5,u     | schedule 5: description: not a quoted text
2026,1,5 => 2026,x,5   | schedule 5: start month: "x" is not a number
2026,1,5 => 2026,2,29  | schedule 5: start: there is no day 2026-02-29
2026,1,5 => 0,0,0      | schedule 5: start: there is no day 0-00-00
6,0,2026 => 24,0,2026  | schedule 5: start: there is no time 24:00
12,31,23,59 => 12,31,23,60 | schedule 5: end: there is no time 23:60
12,31,23,59 => 1,5,5,59 | schedule 5: the end, 2026-01-05 05:59, is before the start, 2026-01-05 06:00
59,127 => 59,128       | schedule 5: day mask 128 names no day of the week
127,0,1 => 127,-1,1    | schedule 5: negative frequency
0,1,"" => 0,2,""       | schedule 5: expected 1,"" after the frequency
0,500, => 0,,          | schedule 5: priority level: "" is not a number
"2,ip => "7,ip         | schedule 5: part 1: announcement type None holds nothing to play
"2,ip => "3,ip         | schedule 5: part 1: content: a schedule does not play type Display
"2,ip => "9,ip         | schedule 5: part 1: content: not a quoted text
"9,ip,\"Hall\", => "2,ip,\"Hall\", | schedule 5: part 2: content: ...
"9,ip => x"9,ip        | schedule 5: part 2: not a quoted text
12!1,,"" => 12!1,""    | schedule 5: part 1: expected type,origin,zones,content,gain,chime
ip,\"Hall\",12!1,,"" => ip"" | schedule 5: part 1: zones: missing
12!1,, => 12!1,loud,   | schedule 5: part 1: gain: "loud" is not a number
!30 => !x              | schedule 5: part 2: content: validity: "x" is not a number
12!1,,""9 => 12!1,,""2,ip,\"Hall\",12!1,,""9 | schedule 5: expected an audio part, a visual part, or both in this order
ip,\"Hall\" => ip,\"Moon\" | schedule 5: unknown zone "Moon"
12!1,, => 12!1,,Four   | schedule 5: unknown chime "Four"
2,ip,\"Hall\",12!1 => 4,ip,\"Hall\",\"xx^Ann^48000^\\\"Hi\\\"\" | schedule 5: no voice "Ann" for language "xx" at 48000 Hz
)~");
    EXPECT_EQ(server.operateAsOther({-1, pa::operations::deleteSchedule, 1, "5"}),
              "there is no schedule 5");
    EXPECT_EQ(refusal("5,\"u => 5,\"v"), "done");
}

TEST_F(SchedulesTest, RunWhenTheirTimeComes) {
    eventsOf("connect");
    replay(R"~(
92/19 0,"u~\"\"",2026,1,5,6,0,2026,1,6,6,2,127,1,1,"",0,500,"2,ip,\"Hallway\",12!1,,Chime"
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
}

TEST(KeptSchedules, RunAfterARestartAndFailVisibly) {
    const TestFolder folder;
    Options options{1.0, true, {}, folder.path(), mondayMorning};
    {
        SimServer first(smallStation(), options);
        const auto add = [&first](const std::string& id, const char* zone) {
            const std::string part =
                quotedText(std::string("2,ip,") + quotedText(zone) + ",12!1,,");
            return first.operateAsOther(
                {-1, pa::operations::putSchedule, 1,
                 id + R"~(,"u~\"\"",2026,1,5,5,0,2026,1,5,23,59,127,60,1,"",0,500,)~" + part});
        };
        EXPECT_EQ(add("2147483647", "Yard"), std::nullopt);
        EXPECT_EQ(add("0", "Hallway"), std::nullopt);
        EXPECT_EQ(add("2", "Hallway"), std::nullopt);
        EXPECT_EQ(first.operateAsOther({-1, pa::operations::deleteSchedule, 1, "2"}), std::nullopt);
    }
    Station station = smallStation();
    station.zones.pop_back();  // the yard
    *options.clock += 30;      // 06:00, when they run
    TestClient client;
    SimServer again(station, options);
    again.connectClient(client);
    const std::string events = client.events();
    EXPECT_NE(events.find("schedule: 1, 2147483647 / part: 1 Playing / complete"),
              std::string::npos)
        << events;
    again.advance(std::chrono::hours(1));
    EXPECT_EQ(client.events(),
              R"(part: 1 Finished 0 "played to its end" deleted / zone: 4 None / )"
              R"(part: 3 schedule-1-3 Queued Playing, 4 schedule-2147483647-4 Queued )"
              R"(Failed 3 "unknown zone \"Yard\"" deleted / zone: 4 Dictionary)");
}

}  // namespace
