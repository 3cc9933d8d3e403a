// SPDX-License-Identifier: Apache-2.0
// Records, schedules and times as JSON and as text, and what is read back.
#include <gtest/gtest.h>

#include "client/scheduleJson.h"
#include "client/scheduleText.h"
#include "client/scheduleTimes.h"
#include "client/sdkText.h"
#include "tests/support/schedules.h"
#include "tests/support/tables.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace paclient;

template <class Call>
std::string refusalOf(Call call) {
    return thrownBy<std::invalid_argument>(call);
}

TEST(Records, AreJsonWithTextsBesideNumbers) {
    PaSource source;
    source.id = 7;
    source.label = "Hall \xff\xc3";
    source.type = PaSource::ZENTRIQ_IP_PAGING_STATION;
    source.state = static_cast<PaSource::AttachState>(3);
    source.inputGain = -12.5;
    EXPECT_EQ(jsonLine(toJson(source)),
              R"({"id":7,"location":"","label":"Hall ��","ipAddress":"0.0.0.0","type":2,)"
              R"("typeText":"ZENTRIQ_IP_PAGING_STATION","subAddress":"","state":3,"stateText":"3",)"
              R"("isEnabled":true,"inputGain":-12.5,"broadcastType":0,)"
              R"("broadcastTypeText":"MULTICAST_AND_UNICAST","healthState":0,)"
              R"("healthStateText":"UNKNOWN_HEALTHSTATE","targetGainAdjustment":0,"priority":500})"
              "\n");

    PaSelector selector;
    selector.paZoneList = {{2, "B"}, {1, "A"}};
    EXPECT_EQ(toJson(selector)["paZoneList"], (Json{"A", "B"}));
    EXPECT_EQ(toJson(wordy("x"))["ttsList"][0]["encodingText"], "UTF_8");
    EXPECT_EQ(jsonLines(toJson(std::vector<PaZone>{})), "[]\n");
}

TEST(Names, OfContentAreFoundWithoutRegardToCase) {
    EXPECT_EQ(messageTypeNamed("recorded_Stream_SAF"), Message::RECORDED_STREAM_SAF);
    EXPECT_EQ(messageTypeNamed("NONE"), std::nullopt) << "the absence of content";
    EXPECT_EQ(messageTypeNamed("DICT"), std::nullopt);
}

TEST(ScheduleJson, IsReadAsItIsWritten) {
    const ScheduleDefinition before = wordy(hostile);
    const Json written = toJson(before, JsonTexts::None);
    EXPECT_EQ(written.size(), 29U);
    EXPECT_EQ(scheduleFrom(Json::parse(written.dump())), before);

    expectTable([](const std::string& text) {
        scheduleFrom(Json::parse(text));
        return "nothing refused";
    });
}

TEST(ScheduleText, HasTimesAndContent) {
    ScheduleDefinition s = schedule();
    s.repeatCnt = 2;
    ScheduleEntry entry = described(s);
    EXPECT_EQ(entry.periodText + ", " + entry.timesText, "2026-12-01 to 2026-12-31, 06:00");
    EXPECT_EQ(entry.contentText, "items 12 x2");
    s = wordy("Mind the gap");
    s.frequency = 15;
    entry = described(s);
    EXPECT_EQ(entry.timesText, "06:00 to 23:59 every 15 min");
    EXPECT_EQ(entry.contentText, "text 'Mind the gap' (en, Amelia); template Mind the gap");
    s.ttsList[0].text = std::string(100, 'x');
    EXPECT_EQ(described(s).contentText.substr(0, 46), "text '" + std::string(36, 'x') + "...;");
}

TEST(ScheduleTimes, AreReadStrictly) {
    const auto typed = parseDateTime("2028-02-29T06:05");
    EXPECT_EQ(dateText(*typed.date) + ' ' + timeText(*typed.time), "2028-02-29 06:05");
    EXPECT_FALSE(parseDateTime("2026-12-01").time);
    EXPECT_FALSE(parseDateTime("23:59").date);

    expectTable([](const std::string& text) {
        parseDateTime(text);
        return "nothing refused";
    });
}

TEST(ScheduleDays, AreNamesAndRanges) {
    for (const char* const days : {"mon-fri,sun", "tue,wed", "daily"}) {
        EXPECT_EQ(daysText(parseDays(days)), days);
    }
    EXPECT_EQ(parseDays("SAT-Mon"), 0b1100001);
    EXPECT_EQ(daysText(0b1100001), "mon,sat,sun");
    EXPECT_EQ(daysText(128), "128");
    for (const char* const bad : {"", "mon,", "mon-", "monday"}) {
        EXPECT_NE(refusalOf([&] { parseDays(bad); }).find("is no day"), std::string::npos) << bad;
    }
}

// The texts are those of the controller itself, so that a change of one is noticed.
TEST(SdkText, IsASentenceForPeople) {
    PaSink sink;
    sink.type = PaSink::ZENTRIQ_KPL2;
    const auto setGain = [&] { sink.setGain(Gain(-3.0), false, false); };
    EXPECT_EQ(sentenceFor(refusalOf(setGain)), "a sink of type ZENTRIQ_KPL2 has no gain");
    const auto detach = [] { PaSource().detachPaZone(""); };
    EXPECT_EQ(sentenceFor(thrownBy<std::out_of_range>(detach)), "the name of a zone is empty");
    EXPECT_EQ(sentenceFor("another text"), "another text");
}

}  // namespace
