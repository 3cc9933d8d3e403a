#include <nlohmann/json.hpp>

#include "console/ExitCode.h"
#include "console/schedule/scheduleCheck.h"
#include "console/schedule/scheduleJson.h"
#include "console/schedule/scheduleText.h"
#include "console/schedule/scheduleTimes.h"
#include "tests/console/consoleRun.h"
#include "tests/console/schedules.h"

namespace {

using console::Json;

/// What an action is refused with, empty when it is not.
template <class Action>
std::string refusalOf(Action action) {
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(ScheduleTimes, areReadStrictly) {
    const auto typed = console::parseDateTime("--from", "2028-02-29T06:05");
    EXPECT_EQ(console::dateText(*typed.date) + ' ' + console::timeText(*typed.time),
              "2028-02-29 06:05");
    EXPECT_FALSE(console::parseDateTime("--from", "2026-12-01").time);
    EXPECT_FALSE(console::parseDateTime("--from", "23:59").date);

    const std::pair<const char*, const char*> cases[] = {
        {"2026-02-29", "--from: 2026-02-29 does not exist"},
        {"2026-13-01", "--from: 2026-13-01 does not exist"},
        {"2026-04-00T06:00", "--from: 2026-04-00 does not exist"},
        {"1969-12-31", "--from: 1969-12-31 is not in the years 1970 to 9999"},
        {"24:00", "--from: 24:00 is no time of day"},
        {"2026-12-01T06:60", "--from: 06:60 is no time of day"},
    };
    for (const auto& [text, refusal] : cases) {
        EXPECT_EQ(refusalOf([&t = text] { console::parseDateTime("--from", t); }), refusal);
    }
    for (const char* const bad : {"", "T", "6:00", "2026-12-01T", "T06:00", "2026-12-1", "06:00:00",
                                  "2026-12-01 06:00", "2026-12-01T06:00Z", "+026-12-01"}) {
        EXPECT_TRUE(contains(refusalOf([&] { console::parseDateTime("--from", bad); }),
                             "is not a date and time"))
            << bad;
    }
}

TEST(ScheduleDays, areNamesAndRanges) {
    struct Case {
        const char* typed;
        int mask;
        const char* shown;
    };
    const Case cases[] = {{"mon", 1, "mon"},
                          {"mon-fri,sun", 0b1011111, "mon-fri,sun"},
                          {"SAT-Mon", 0b1100001, "mon,sat,sun"},
                          {"tue,wed", 0b0000110, "tue,wed"},
                          {"fri-tue", 0b1110011, "mon,tue,fri-sun"},
                          {"daily", 127, "daily"},
                          {"mon-sun", 127, "daily"}};
    for (const Case& c : cases) {
        EXPECT_EQ(console::parseDays("--days", c.typed), c.mask) << c.typed;
        EXPECT_EQ(console::daysText(c.mask), c.shown);
    }
    for (const char* const bad : {"", "mon,", "-", "mon-", "monday", "mon fri", "1"}) {
        EXPECT_TRUE(contains(refusalOf([&] { console::parseDays("--days", bad); }), "is no day"))
            << bad;
    }
    for (const int mask : {0, 128, -1}) {
        EXPECT_EQ(console::daysText(mask), std::to_string(mask));
    }
}

TEST(ScheduleCheck, refusesWhatCannotBeOrWouldBeLost) {
    using Change = void (*)(ScheduleDefinition&);
    const std::pair<Change, const char*> cases[] = {
        {[](auto& s) { s.Id = -1; }, "the id -1 is negative"},
        {[](auto& s) { s.startDay = 31, s.startMonth = 11; }, "--from: 2026-11-31 does not exist"},
        {[](auto& s) { s.startHour = 24; }, "--from: 24:00 is no time"},
        {[](auto& s) { s.endYear = 70000; }, "--until: 70000-12-31 is not in the years"},
        {[](auto& s) { s.endMinute = -1; }, "--until: 23:-1 is no time"},
        {[](auto& s) { s.endMonth = 11, s.endDay = 30; }, "2026-11-30T23:59, lies before"},
        {[](auto& s) { s.endDay = 1, s.endHour = 5; }, "2026-12-01T05:59, lies before"},
        {[](auto& s) { s.dayMask = 0; }, "--days: the mask 0"},
        {[](auto& s) { s.dayMask = 128; }, "--days: the mask 128"},
        {[](auto& s) { s.frequency = -1; }, "--every"},
        {[](auto& s) { s.paZones.clear(); }, "zones are missing"},
        {[](auto& s) { s.announcementType = AT_NONE; }, "nothing to play: --items"},
        {[](auto& s) { s.announcementType = AT_LIVE; }, "announcementType 0"},
        {[](auto& s) { s.dictionaryItems.clear(); }, "items are missing"},
        {[](auto& s) { s.repeatCnt = 0; }, "once at least"},
        {[](auto& s) { s.announcementType = AT_TTS; }, "a text is missing"},
        {[](auto& s) { s.announcementType = AT_STORED_DATA_SAF; }, "the file is missing"},
        {[](auto& s) { s.visualAnnouncementType = AT_TTS; }, "visualAnnouncementType 4"},
        {[](auto& s) { s.visualAnnouncementType = AT_DISPLAY_TEMPLATE; }, "template is missing"},
        {[](auto& s) { s = wordy("x"), s.ttsList[0].text = ""; }, "a text is empty"},
        {[](auto& s) { s = wordy("x"), s.displayTemplateKeyValueList[""]; }, "a key is empty"},
        {[](auto& s) { s = wordy("{SCREEN}"); }, "is that of the template's name"},
        {[](auto& s) { s = wordy("x"), s.displayTemplateValidityPeriodSeconds = -1; }, "0 s"},
        {[](auto& s) { s = wordy("x"), s.ttsList[0].rate = 8000; }, "'ttsList' does not go"},
        {[](auto& s) { s.storedDataSourceId = 3; }, "'storedDataSourceId' does not go"},
        {[](auto& s) { s.displayTemplateName = "M"; }, "'displayTemplateName' does not go"},
        {[](auto& s) { s.priorityMode = static_cast<AnnouncementPriorityMode>(2); }, "neither"},
        {[](auto& s) { s.gain = HUGE_VAL; }, "the gain is no number"},
        {[](auto& s) { s.chime = "1,2"; }, "the chime '1,2' has one of"},
        {[](auto& s) { s.descrption = "\tx"; }, "begins with a blank"},
        {[](auto& s) { s.descrption = "\xff"; }, "is not UTF-8"},
        {[](auto& s) { s.paZones = {std::string(1, '\0')}; }, "has a NUL"},
    };
    for (const auto& [change, refusal] : cases) {
        ScheduleDefinition s = schedule();
        change(s);
        EXPECT_TRUE(contains(refusalOf([&] { console::check(s); }), refusal)) << refusal;
    }
    EXPECT_EQ(refusalOf([] { console::check(schedule()); }), "");
    EXPECT_EQ(refusalOf([] { console::check(wordy(hostile)); }), "");
}

TEST(ScheduleJson, readsWhatIsWritten) {
    const ScheduleDefinition before = wordy(hostile);
    const Json json = console::toJson(before);
    EXPECT_EQ(json.size(), 29U);
    EXPECT_EQ(console::toJson(console::scheduleFrom(Json::parse(json.dump()))), json);

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
        EXPECT_TRUE(
            contains(refusalOf([&t = text] { console::scheduleFrom(Json::parse(t)); }), refusal))
            << text;
    }
}

TEST(ScheduleText, saysWhenAndWhat) {
    ScheduleDefinition s = schedule();
    s.repeatCnt = 2;
    console::Schedule told = console::described(s);
    EXPECT_EQ(told.periodText, "2026-12-01 to 2026-12-31");
    EXPECT_EQ(told.timesText, "06:00");
    EXPECT_EQ(told.contentText, "items 12 x2");
    s = wordy("Mind the gap");
    s.frequency = 15;
    told = console::described(s);
    EXPECT_EQ(told.timesText, "06:00 to 23:59 every 15 min");
    EXPECT_EQ(told.contentText, "text 'Mind the gap' (en, Amelia); template Mind the gap");
    s.ttsList[0].text = std::string(100, 'x');
    EXPECT_EQ(console::described(s).contentText.substr(0, 46),
              "text '" + std::string(36, 'x') + "...;");
}

}  // namespace
