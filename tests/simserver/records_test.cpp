#include "simserver/Records.h"

#include <gtest/gtest.h>

namespace {

using namespace simserver;

/// Fields as place=text, absent ones left out.
std::string shown(const RecordFields& fields) {
    std::string text;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        text += fields[i] ? std::to_string(i) + "=" + *fields[i] + " " : "";
    }
    return text;
}

TEST(Records, SayAllOfTheStation) {
    Source source{4, R"(Room "1")", "Desk", "10.0.0.4", 2, "in 3", -12.5, 1, 2, {}, 500};
    EXPECT_EQ(shown(sourceRecord(source, "client-7", 3)),
              R"(0=4 1="Room \"1\"" 2="Desk" 3=10.0.0.4 4=2 6=in 3 7=1 )"
              "9=client-7 10=3 11=-12.5 12=1 16=2 ");
    EXPECT_EQ(shown(attachedZonesRecord(source)), "");
    source.attachedZones = {"Hall/East", R"(a^"b")"};
    EXPECT_EQ(*sourceRecord(source, "", 3)[7], "2");
    EXPECT_EQ(*sourceRecord(source, "", 3)[9], "");
    EXPECT_EQ(shown(attachedZonesRecord(source)), R"(0="\"Hall/East\"^\"a^\\\"b\\\"\"" )");

    const std::vector<std::string> zones = {"Hall", R"(a^"b")"}, monitored = {"Yard", R"(\c)"};
    const Sink sink{5, "East", R"(Back\slash)", "10.0.0.5", 10,        "1,2", -0.5, 2,
                    6, 4,      zones,           true,       monitored, "log"};
    const std::string head = R"(0=5 1="East" 2="Back\\slash" 3=10.0.0.5 4=10 6=1,2 )";
    const std::string tail = R"(11=-0.5 12=2 15=6 17=4 26="\"Hall\"^\"a^\\\"b\\\"\"" 27=1 )"
                             R"(28="Yard"^"\\c" 31="log" )";
    EXPECT_EQ(shown(sinkRecord(sink, false)), head + "7=1 9=0 " + tail);
    EXPECT_EQ(shown(sinkRecord(sink, true)), head + "7=2 9=1 " + tail);

    Trigger trigger{21, 4, 31, "Key \"1\"", 3, "k 1", 600, {}, {}, false};
    EXPECT_EQ(shown(triggerRecord(trigger, 3)),
              R"(0=21 1=4 2=Key "1" 3=3 5=k 1 6=600 7=1 9=31 10=3 )");
    trigger.active = true;
    EXPECT_EQ(*triggerRecord(trigger, 3)[7], "2");
    EXPECT_EQ(shown(selectorRecord({31, 4, "Hall", 7, "R \"1\"", 2, 1, 0, 3, {"Hall"}})),
              R"(0=31 1=4 2=7 4=R "1" 5=Hall 6=2 8=1 10=0 12=3 )");

    EXPECT_EQ(shown(zoneRecord({"Hall", 1}, nullptr)),
              R"(0="Hall" 2=0 3=Idle 4=7 5=None 6=1 7=Healthy )");
    EXPECT_EQ(shown(zoneRecord({"Hall", 3}, findType(9))),
              R"(0="Hall" 2=1 3=Active 4=9 5=Display template 6=3 7=Major fault )");
    EXPECT_EQ(shown(voiceRecord({7, "en", "Ann", 22050, "a \"voice\"", ""})),
              R"(0="en" 1="Ann" 2=22050 3="a \"voice\"" )");
}

TEST(Records, SayWhatPlaysAndHowItEnds) {
    constexpr std::time_t epoch = 1'795'269'785;  // 2026-11-21 14:03:05 UTC
    PlayPart part;
    part.requestId = "request \"1\"";
    part.priority = "Relative +50";
    part.outcome = "why, \"so\"";
    const DictionaryContent content{{12, 40}, 1};
    part.request = {findType(2), "10.0.0.9", {"Hall", "a^\"b\""}, content, {}, 0, 0};
    const std::string id = R"(0="request \"1\"" )";
    const std::string same = R"(9="2,\"10.0.0.9\",\"\\\"Hall\\\"^\\\"a^\\\\\\\"b\\\\\\\"\\\"\",)"
                             R"(\"12^40!1\",,0^0^0" 16=Relative +50 )";
    EXPECT_EQ(shown(announcementRecord(part, epoch)), id + "5=Queued " + same);
    part.start = SimTime(61'999);
    part.state = PartState::Failed;
    EXPECT_EQ(shown(announcementRecord(part, epoch)),
              id + "5=Failed 6=2026-11-21 14:04:06 " + same + R"(18=3 19="why, \"so\"" )");
}

}  // namespace
