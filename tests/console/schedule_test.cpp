#include <nlohmann/json.hpp>

#include "console/ExitCode.h"
#include "console/schedule/scheduleCheck.h"
#include "console/schedule/scheduleJson.h"
#include "console/schedule/scheduleText.h"
#include "console/schedule/scheduleTimes.h"
#include "tests/console/consoleRun.h"
#include "tests/console/testFiles.h"

namespace {

using console::Json;
using Words = std::vector<std::string>;

constexpr const char* hostile = "a,b^c!d~e=f\"g\\h \r\n\x1b[31m{SCREEN} Lucía 駅";

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

ScheduleDefinition schedule(int id = 12) {
    ScheduleDefinition s;
    s.Id = id;
    s.startYear = 2026;
    s.startMonth = 12;
    s.startDay = 1;
    s.startHour = 6;
    s.endYear = 2026;
    s.endMonth = 12;
    s.endDay = 31;
    s.endHour = 23;
    s.endMinute = 59;
    s.dayMask = 127;
    s.paZones = {"Concourse"};
    s.announcementType = AT_TEV;
    s.dictionaryItems = {12};
    return s;
}

/// The same with a text in every place that takes one.
ScheduleDefinition wordy(const std::string& text) {
    ScheduleDefinition s = schedule();
    s.descrption = text;
    s.announcementType = AT_TTS;
    s.dictionaryItems.clear();
    s.ttsList = {{0, text, "en", "Amelia", TTSVocalizer::usableRate, Message::UTF_8}};
    s.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
    s.displayTemplateName = text;
    s.displayTemplateKeyValueList = {{text, text}, {"EMPTY", ""}};
    s.displayTemplateValidityPeriodSeconds = 20;
    s.gain = -3.5;
    s.chime = "1";
    return s;
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

// ------------------------------------------------------------------------------- whole commands

/// One after the other, over one connection.
Ran runLines(const TestFolder& folder, const Words& lines) {
    std::string script;
    for (const std::string& line : lines) {
        script += line + '\n';
    }
    return runConsole({"--clock", "2026-12-01T03:00", "--state", (folder.path() / "state").string(),
                       "--script", folder.write("script", script)});
}

TEST(ScheduleCommand, keepsChangesAndForgets) {
    const TestFolder folder;
    const Ran first = runLines(
        folder,
        {"schedule add --zones 'platform 1' --items 12,14 --from 06:00 --days tue --relative",
         "schedule add --sync --zones 'Concourse,Subway' --text Welcome --language de",
         "schedule add --id 7 --zones Concourse --file /home/quillon/tmp/x.wav --source 3 "
         "--template Main --set A=1 --set B=2 --until 2026-12-02",
         "schedule modify 1 --items 21 --repeat 3 --until 22:00 --absolute",
         "schedule modify 7 --text 'x' --set B=3 --set C== --validity 9",
         "schedule modify 2 --gain 0", "schedule modify 2 --voice Amelia",
         "schedule add --zones Subway --text Guten --language de", "schedule modify 3 --text Tag",
         "schedule modify 7 --validity 11"});
    EXPECT_EQ(first.code, 0) << first.err;
    EXPECT_EQ(linesOf(first.out), (Words{"schedule 1 is in; next run 2026-12-01T06:00",
                                         "schedule 2 is in; next run 2026-12-02T00:00",
                                         "schedule 7 is in; next run 2026-12-02T00:00",
                                         "schedule 1 is changed; next run 2026-12-01T06:00",
                                         "schedule 7 is changed; next run 2026-12-02T00:00",
                                         "schedule 2, as before; next run 2026-12-02T00:00",
                                         "schedule 2 is changed; next run 2026-12-02T00:00",
                                         "schedule 3 is in; next run 2026-12-02T00:00",
                                         "schedule 3 is changed; next run 2026-12-02T00:00",
                                         "schedule 7 is changed; next run 2026-12-02T00:00"}));

    const Ran second = runLines(folder, {"schedule list --format json", "schedule remove 7 1 7 3",
                                         "list schedules", "status"});
    EXPECT_EQ(second.code, 0) << second.err;
    const std::size_t end = second.out.find("\n]\n") + 3;
    const auto kept = nlohmann::json::parse(second.out.substr(0, end));
    ASSERT_EQ(kept.size(), 4U);
    const auto expect = [&kept](std::size_t at, const nlohmann::json& members) {
        for (const auto& member : members.items()) {
            EXPECT_EQ(kept[at][member.key()], member.value()) << at << ' ' << member.key();
        }
    };
    expect(0, {{"Id", 1},
               {"paZones", {"Platform 1"}},
               {"dictionaryItems", {21}},
               {"repeatCnt", 3},
               {"periodText", "2026-12-01 to 2099-12-31"},
               {"daysText", "tue"},
               {"endHour", 22},
               {"endMinute", 0},
               {"priorityMode", 0}});
    expect(1, {{"Id", 2}, {"paZones", {"Concourse", "Subway"}}, {"announcementType", 4}});
    EXPECT_EQ(kept[1]["ttsList"][0]["voice"], "Amelia");
    EXPECT_EQ(kept[1]["ttsList"][0]["text"], "Welcome");
    EXPECT_EQ(kept[2]["ttsList"][0]["language"], "de");
    EXPECT_EQ(kept[2]["ttsList"][0]["text"], "Tag");
    expect(3, {{"announcementType", 4},
               {"storedDataFilePath", ""},
               {"displayTemplateName", "Main"},
               {"displayTemplateKeyValueList", {{"A", "1"}, {"B", "3"}, {"C", "="}}},
               {"displayTemplateValidityPeriodSeconds", 11}});
    const Words rest = linesOf(second.out.substr(end));
    EXPECT_EQ(rest.at(0), "schedule 7 is removed");
    EXPECT_EQ(rest.at(1), "schedule 1 is removed");
    EXPECT_EQ(rest.at(4).substr(0, 3), "2  ");
    EXPECT_TRUE(contains(second.out, "schedules           1\n"));
}

TEST(ScheduleCommand, failsWithOneLine) {
    const std::string add = "schedule add --zones Concourse ";
    struct Case {
        std::string line;
        int code;
        const char* message;
    };
    const Case cases[] = {
        {add, 1, "nothing to play"},
        {add + "--items 12 --text x", 1, "excludes"},
        {add + "--items 12 --id 3", 4, "there is a schedule 3 already"},
        {add + "--items 12 --id 0", 1, "--id: '0'"},
        {add + "--items 12 --id 9 --sync", 1, "excludes"},
        {add + "--items 99", 4, "the server refuses: schedule 1: unknown dictionary item 99"},
        {add + "--items 99 --sync", 4, "the server refuses"},
        {add + "--items 12 --until 2026-02-31", 1, "--until: 2026-02-31 does not exist"},
        {add + "--items 12 --until 2026-11-30", 1, "lies before the start, 2026-12-01T00:00"},
        {add + "--items 12 --every -5", 1, "--every: '-5'"},
        {add + "--items 12 --gain inf", 1, "--gain: 'inf'"},
        {add + "--items 12 --voice Amelia", 1, "go with --text"},
        {add + "--items 12 --source 1", 1, "goes with --file"},
        {add + "--items 12 --set A=1", 1, "--set goes with --template"},
        {add + "--template M --set A", 1, "is not KEY=VALUE"},
        {add + "--template M --set A=1 --set A=2", 1, "gives 'A' twice"},
        {add + "--text x --voice Amelai", 3, "did you mean 'Amelia'"},
        {"schedule add --zones Concuorse --items 12", 3, "did you mean 'Concourse'"},
        {"schedule modify 3 --set A=2", 1, "--validity is missing"},
        {"schedule modify 4 --priority 1", 3, "there is no schedule '4'"},
        {"schedule remove 3 4", 3, "there is no schedule '4'"},
        {"schedule import /nonexistent", 1, "No such file"},
        {"schedule export --out /nonexistent/x", 1, "cannot be written"},
    };
    for (const Case& c : cases) {
        const TestFolder folder;
        const Ran ran =
            runLines(folder, {"schedule add --id 3 --zones Concourse --template M", c.line});
        EXPECT_EQ(ran.code, c.code) << c.line << ran.err;
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), 1U) << ran.err;
        EXPECT_EQ(linesOf(ran.out).size(), 1U) << c.line;
    }
    EXPECT_EQ(runConsole({"--clock", "06:00", "status"}).code, 1);
}

TEST(ScheduleTransfer, bringsBackWhatWasExportedAndTellsWhatFails) {
    const TestFolder folder;
    const auto file = [&folder](const std::string& name, const Json& entries) {
        return folder.write(name, entries.dump());
    };
    ScheduleDefinition unknownZone = schedule(20);
    unknownZone.paZones = {"Concuorse"};
    ScheduleDefinition unknownItem = schedule(21);
    unknownItem.dictionaryItems = {9999};
    const std::string many = file("many", console::toJson(std::vector<ScheduleDefinition>{
                                              wordy(hostile), unknownZone, unknownItem, schedule(0),
                                              schedule(30), schedule(30)}));
    const Ran ran = runLines(folder, {"schedule import " + many});
    EXPECT_EQ(ran.code, 4);
    EXPECT_EQ(ran.out, "2 of 6 schedules are in\n");
    const Words lines = linesOf(ran.err);
    const char* const reasons[] = {"entry 2: there is no zone 'Concuorse'; did you mean",
                                   "entry 3: the server refuses: schedule 21: unknown dictionary",
                                   "entry 4: the id is missing, or not above 0",
                                   "entry 6: schedule 30 stands in the file twice",
                                   "4 of 6 schedules are not in"};
    ASSERT_EQ(lines.size(), std::size(reasons));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(contains(lines[i], reasons[i])) << lines[i];
    }

    const std::string out = (folder.path() / "out").string();
    EXPECT_EQ(runLines(folder, {"schedule export --out " + out}).code, 0);
    std::ifstream exported(out);
    const Json back = Json::parse(exported);
    ASSERT_EQ(back.size(), 2U);
    EXPECT_EQ(back[0], console::toJson(wordy(hostile)));

    ScheduleDefinition changed = schedule(30);
    changed.descrption = "changed";
    const std::string one =
        file("one", console::toJson(std::vector<ScheduleDefinition>{changed, wordy(hostile)}));
    const Ran again = runLines(folder, {"schedule import " + one + " --replace --format json",
                                        "schedule export", "schedule import " + one});
    EXPECT_EQ(Json::parse(linesOf(again.out).at(0)),
              (Json{{"imported", 2}, {"failed", Json::array()}}));
    EXPECT_TRUE(contains(again.out, "\"descrption\":\"changed\""));
    EXPECT_EQ(again.code, 4);
    EXPECT_TRUE(contains(again.err, "entry 1: there is a schedule 30 already"));

    const Ran cut = runLines(
        folder, {"sim requests off", "schedule import " +
                                         file("new", Json::array({console::toJson(schedule(40))})) +
                                         " --timeout 0"});
    EXPECT_EQ(cut.code, 5);
    EXPECT_TRUE(contains(cut.err, "entry 1: the server has not confirmed it in time")) << cut.err;
    for (const char* const bad : {"", "{}", "[1", "\"x\""}) {
        EXPECT_EQ(runLines(folder, {"schedule import " + folder.write("bad", bad)}).code, 1) << bad;
    }
}

}  // namespace
