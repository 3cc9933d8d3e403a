#include <gtest/gtest.h>

#include "client/recordText.h"
#include "client/scheduleJson.h"
#include "client/scheduleText.h"
#include "tests/support/schedules.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace paclient;

TEST(Records, areJsonWithTextsBesideNumbers) {
    PaSource source;
    source.id = 7;
    source.label = "Hall \xff\xc3";
    source.type = PaSource::ZENTRIQ_IP_PAGING_STATION;
    source.state = static_cast<PaSource::AttachState>(9);
    source.inputGain = -12.5;
    EXPECT_EQ(jsonLine(toJson(source)),
              R"({"id":7,"location":"","label":"Hall ��","ipAddress":"0.0.0.0","type":2,)"
              R"("typeText":"ZENTRIQ_IP_PAGING_STATION","subAddress":"","state":9,"stateText":"9",)"
              R"("isEnabled":true,"inputGain":-12.5,"broadcastType":0,)"
              R"("broadcastTypeText":"MULTICAST_AND_UNICAST","healthState":0,)"
              R"("healthStateText":"UNKNOWN_HEALTHSTATE","targetGainAdjustment":0,"priority":500})"
              "\n");
    EXPECT_EQ(toJson(source, JsonTexts::None).count("stateText"), 0U);

    PaSink sink;
    sink.outputGain = Gain(-6.5);
    PaSelector selector;
    selector.paZoneList = {{2, "B"}, {1, "A"}};
    EXPECT_EQ(toJson(sink)["outputGain"], -6.5);
    EXPECT_EQ(toJson(selector)["paZoneList"], (Json{"A", "B"}));
    EXPECT_EQ(toJson(wordy("x"))["ttsList"][0]["encodingText"], "UTF_8");
    EXPECT_EQ(jsonLines(toJson(std::vector<PaZone>{})), "[]\n");
}

TEST(Records, areLinesOfText) {
    PaSWTrigger trigger;
    trigger.trigger.id = 3;
    trigger.associatedSourceId = 101;
    trigger.preChime = "1";
    EXPECT_EQ(lineOf(trigger), "3|0|0||DIN_NORMALLY_OPEN||500|ABSOLUTE_PRIORITY|UNKNOWN|no|101|1|");
    EXPECT_EQ(memberText<&ScheduleDefinition::displayTemplateKeyValueList>(wordy("k")),
              "EMPTY=, k=k");
    EXPECT_EQ(linesOf(std::vector<PaSourceLockStatus>{{9, ""}, {4, "b"}}), "9|\n4|b\n");
    EXPECT_EQ(holderText({{4, "b"}, "another client"}), "another client (b)");
}

TEST(ScheduleJson, readsWhatIsWritten) {
    const ScheduleDefinition before = wordy(hostile);
    const Json json = toJson(before, JsonTexts::None);
    EXPECT_EQ(json.size(), 29U);
    EXPECT_EQ(toJson(scheduleFrom(Json::parse(json.dump())), JsonTexts::None), json);

    const std::pair<const char*, const char*> cases[] = {
        {"[]", "is not an object"},
        {R"({"id": 1})", "the member 'id' is not known"},
        {R"({"Id": "1"})", "the member 'Id' is not a whole number"},
        {R"({"Id": 1.5})", "the member 'Id' is not a whole number"},
        {R"({"Id": 2147483648})", "the member 'Id' is not a whole number"},
        {R"({"Id": 18446744073709551615})", "the member 'Id' is not a whole number"},
        {R"({"dictionaryItems": [1, -1]})", "the member 'dictionaryItems' is not a whole number"},
        {R"({"dictionaryItems": 1})", "the member 'dictionaryItems' is not a list"},
        {R"({"paZones": [null]})", "the member 'paZones' is not a text"},
        {R"({"gain": "1"})", "the member 'gain' is not a number"},
        {R"({"ttsList": [{"txt": 1}]})", "the member 'ttsList' the member 'txt' is not known"},
        {R"({"displayTemplateKeyValueList": []})", "is not an object"},
    };
    for (const auto& [text, refusal] : cases) {
        const std::string thrown =
            thrownBy<std::invalid_argument>([&t = text] { scheduleFrom(Json::parse(t)); });
        EXPECT_NE(thrown.find(refusal), std::string::npos) << thrown;
    }
}

TEST(ScheduleText, hasTimesAndContent) {
    ScheduleDefinition s = schedule();
    s.repeatCnt = 2;
    ScheduleEntry entry = described(s);
    EXPECT_EQ(entry.periodText, "2026-12-01 to 2026-12-31");
    EXPECT_EQ(entry.timesText, "06:00");
    EXPECT_EQ(entry.contentText, "items 12 x2");
    s = wordy("Mind the gap");
    s.frequency = 15;
    entry = described(s);
    EXPECT_EQ(entry.timesText, "06:00 to 23:59 every 15 min");
    EXPECT_EQ(entry.contentText, "text 'Mind the gap' (en, Amelia); template Mind the gap");
    s.ttsList[0].text = std::string(100, 'x');
    EXPECT_EQ(described(s).contentText.substr(0, 46), "text '" + std::string(36, 'x') + "...;");
}

}  // namespace
