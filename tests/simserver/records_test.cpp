#include "simserver/Records.h"

#include <gtest/gtest.h>

#include "tests/simserver/SmallStation.h"

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

TEST(Records, SaysAllOfASource) {
    Source source;
    source.id = 4;
    source.location = R"(Room "1")";
    source.label = "Desk";
    source.ipAddress = "10.0.0.4";
    source.type = 2;
    source.subAddress = "in 3";
    source.inputGain = -12.5;
    source.broadcastType = 1;
    source.health = 2;
    EXPECT_EQ(shown(sourceRecord(source, 3)),
              R"(0=4 1="Room \"1\"" 2="Desk" 3=10.0.0.4 4=2 6=in 3 7=1 10=3 11=-12.5 12=1 16=2 )");
    EXPECT_EQ(shown(attachedZonesRecord(source)), "");
    source.attachedZones = {"Hall/East", R"(a^"b")"};
    EXPECT_EQ(*sourceRecord(source, 3)[7], "2");
    EXPECT_EQ(shown(attachedZonesRecord(source)), R"(0="\"Hall/East\"^\"a^\\\"b\\\"\"" )");
}

TEST(Records, SaysAllOfASink) {
    Sink sink;
    sink.id = 5;
    sink.location = "East";
    sink.label = R"(Back\slash)";
    sink.ipAddress = "10.0.0.5";
    sink.type = 10;
    sink.ampPorts = "1,2";
    sink.outputGain = -0.5;
    sink.muteState = 2;
    sink.monitoringSinkId = 6;
    sink.health = 4;
    sink.zones = {"Hall", R"(a^"b")"};
    sink.monitoringEnabled = true;
    sink.monitoringZones = {"Yard", R"(a^"b")"};
    sink.mediaLog = "log";
    const std::string tail = R"(11=-0.5 12=2 15=6 17=4 26="\"Hall\"^\"a^\\\"b\\\"\"" 27=1 )"
                             R"(28="Yard"^"a^\"b\"" 31="log" )";
    const std::string head = R"(0=5 1="East" 2="Back\\slash" 3=10.0.0.5 4=10 6=1,2 )";
    EXPECT_EQ(shown(sinkRecord(sink, false)), head + "7=1 9=0 " + tail);
    EXPECT_EQ(shown(sinkRecord(sink, true)), head + "7=2 9=1 " + tail);
}

TEST(Records, SaysAllOfZonesAndVoices) {
    EXPECT_EQ(shown(zoneRecord({"Hall", 1}, nullptr)),
              R"(0="Hall" 2=0 3=Idle 4=7 5=None 6=1 7=Healthy )");
    EXPECT_EQ(shown(zoneRecord({"Hall", 3}, findType(9))),
              R"(0="Hall" 2=1 3=Active 4=9 5=Display template 6=3 7=Major fault )");
    EXPECT_EQ(shown(voiceRecord({7, "en", "Ann", 22050, "a \"voice\""})),
              R"(0="en" 1="Ann" 2=22050 3="a \"voice\"" )");
}

struct AnnouncementRecord : testing::Test {
    AnnouncementRecord() {
        part.requestId = "request \"1\"";
        part.priority = "Relative +50";
        part.request.type = findType(2);
        part.request.origin = "10.0.0.9";
        part.request.zones = {"Hall", "a^\"b\""};
        part.request.content = DictionaryContent{{12, 40}, 1};
    }
    std::string content(int type, Content of) {
        part.request.type = findType(type);
        part.request.content = std::move(of);
        part.request.zones = {"Z"};
        return *announcementRecord(part, 0)[9];
    }
    PlayPart part;
};

TEST_F(AnnouncementRecord, SaysWhatPlaysAndHowItEnded) {
    constexpr std::time_t epoch = 1'795'269'785;  // 2026-11-21 14:03:05 UTC
    const std::string same = R"(9="2,\"10.0.0.9\",\"\\\"Hall\\\"^\\\"a^\\\\\\\"b\\\\\\\"\\\"\",)"
                             R"(\"12^40!1\",,0^0^0" 16=Relative +50 )";
    const std::string id = R"(0="request \"1\"" )";
    EXPECT_EQ(shown(announcementRecord(part, epoch)), id + "5=Queued " + same);
    part.state = PartState::Playing;
    part.start = SimTime(61'999);
    EXPECT_EQ(shown(announcementRecord(part, epoch)),
              id + "5=Playing 6=2026-11-21 14:04:06 " + same);
    part.outcome = "why, \"so\"";
    struct {
        PartState state;
        const char* text;
        const char* code;
    } const ends[] = {{PartState::Finished, "Finished", "0"},
                      {PartState::Cancelled, "Cancelled", "1"},
                      {PartState::PreEmpted, "Pre-empted", "2"},
                      {PartState::Failed, "Failed", "3"}};
    for (const auto& [state, text, code] : ends) {
        part.state = state;
        EXPECT_EQ(shown(announcementRecord(part, epoch)),
                  id + "5=" + text + " 6=2026-11-21 14:04:06 " + same + "18=" + code +
                      R"( 19="why, \"so\"" )");
    }
}

TEST_F(AnnouncementRecord, WritesEachContentAnew) {
    part.request.gain = -6.5;
    part.request.preChime = 3;
    part.request.postChime = 4;
    const auto around = [](const char* type, const char* content) {
        return "\"" + std::string(type) + R"(,\"10.0.0.9\",\"\\\"Z\\\"\",\")" + content +
               R"(\",-6.5,3^4^0")";
    };
    EXPECT_EQ(content(1, RecordedContent{"/a/b.wav"}), around("1", "/a/b.wav"));
    EXPECT_EQ(content(3, TextContent{"Hi, \"all\""}), around("3", R"(Hi, \\\"all\\\")"));
    EXPECT_EQ(content(4, SpokenContent{{{"en", "Ann", 48000, "One"}, {"en", "Ann", 48000, "Two"}}}),
              around("4", "One!Two"));
    EXPECT_EQ(content(9, TemplateContent{R"({"validity":0})", 0}),
              around("9", R"({\\\"validity\\\":0})"));
}

}  // namespace
