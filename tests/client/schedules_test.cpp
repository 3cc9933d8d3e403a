#include "client/schedules.h"

#include <cmath>
#include <functional>
#include <stdexcept>

#include "tests/client/serverFixture.h"
#include "tests/support/schedules.h"

namespace {

using namespace std::chrono_literals;
using namespace paclient;
using State = Confirmation::State;

/// What an action is refused with, empty when it is not.
template <class Action>
std::string refusalOf(Action action) {
    try {
        action();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

TEST(ScheduleCheck, RefusesWhatCannotBeOrWouldBeLost) {
    using Edit = void (*)(ScheduleDefinition&);
    const std::pair<Edit, const char*> cases[] = {
        {[](auto& s) { s.Id = -1; }, "the id -1 is negative"},
        {[](auto& s) { s.startDay = 31, s.startMonth = 11; }, "start: 2026-11-31 does not exist"},
        {[](auto& s) { s.startHour = 24; }, "start: 24:00 is no time"},
        {[](auto& s) { s.endYear = 70000; }, "end: 70000-12-31 is not in the years"},
        {[](auto& s) { s.endMinute = -1; }, "end: 23:-1 is no time"},
        {[](auto& s) { s.endMonth = 11, s.endDay = 30; }, "2026-11-30T23:59, is before"},
        {[](auto& s) { s.endDay = 1, s.endHour = 5; }, "2026-12-01T05:59, is before"},
        {[](auto& s) { s.dayMask = 0; }, "the mask 0"},
        {[](auto& s) { s.dayMask = 128; }, "the mask 128"},
        {[](auto& s) { s.frequency = -1; }, "frequency"},
        {[](auto& s) { s.paZones.clear(); }, "zones are missing"},
        {[](auto& s) { s.announcementType = AT_NONE; }, "nothing to play"},
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
        {[](auto& /*s*/) {}, ""},
        {[](auto& s) { s = wordy(hostile); }, ""},
    };
    for (const auto& [edit, refusal] : cases) {
        ScheduleDefinition s = schedule();
        edit(s);
        const std::string found = refusalOf([&] { checkSchedule(s); });
        EXPECT_NE(found.find(refusal), std::string::npos) << found << " is not: " << refusal;
        EXPECT_EQ(found.empty(), *refusal == '\0');
    }
}

simserver::Station station() {
    simserver::Station station;
    station.name = "Test";
    station.zones = {{"Concourse", 1}};
    station.voices.push_back({4, "en", "Amelia", 48000, "", ""});
    station.dictionary.push_back({1, "Gong", 1s, true});
    station.dictionary.push_back({12, "Mind the gap", 2s, false});
    station.dictionary.push_back({13, "Stand clear", 2s, false});
    return station;
}

struct SchedulesTest : ClientTest {
    SchedulesTest() : ClientTest(station()) {}
};

ScheduleDefinition withItem(ScheduleDefinition schedule, unsigned item) {
    schedule.dictionaryItems = {item};
    return schedule;
}

ScheduleDefinition visualSchedule(int validity) {
    ScheduleDefinition result = schedule(5);
    result.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
    result.displayTemplateName = "Main";
    result.displayTemplateValidityPeriodSeconds = validity;
    return result;
}

TEST_F(SchedulesTest, ArePutInChangedAndRemoved) {
    const Wait wait;
    int created = 0;
    struct Step {
        const char* name;
        std::function<Confirmation()> run;
        State state;
    };
    const Step steps[] = {
        {"new", [&] { return putSchedule(schedule(1), wait); }, State::Done},
        {"same", [&] { return putSchedule(schedule(1), wait); }, State::AsBefore},
        {"changed", [&] { return putSchedule(withItem(schedule(1), 13), wait); }, State::Done},
        {"visual", [&] { return putSchedule(visualSchedule(9), wait); }, State::Done},
        {"for longer", [&] { return putSchedule(visualSchedule(10), wait); }, State::Done},
        {"refused", [&] { return putSchedule(withItem(schedule(1), 99), wait); }, State::Refused},
        {"created",
         [&] {
             const NewSchedule made = createSchedule(schedule(0), wait);
             created = made.id;
             return made.confirmation;
         },
         State::Done},
        {"not created",
         [&] { return createSchedule(withItem(schedule(0), 99), wait).confirmation; },
         State::Refused},
        {"removed", [&] { return removeSchedule(1, wait); }, State::Done},
        {"none", [&] { return removeSchedule(1, wait); }, State::AsBefore},
    };
    for (const Step& step : steps) {
        EXPECT_EQ(static_cast<int>(step.run().state), static_cast<int>(step.state)) << step.name;
    }
    EXPECT_EQ(created, 6);
    EXPECT_EQ(freeScheduleId(), 1);
    EXPECT_EQ(gPaController.listSchedules().size(), 2U);
    EXPECT_THROW((void)putSchedule(schedule(0), wait), std::invalid_argument);
    EXPECT_THROW((void)removeSchedule(0, wait), std::invalid_argument);
    server.ignoreRequests(true);
    EXPECT_EQ(putSchedule(schedule(1), {0ms}).state, State::TimedOut);
    EXPECT_EQ(putSchedule(visualSchedule(11), {0ms}).state, State::TimedOut);
    EXPECT_EQ(removeSchedule(5, {0ms}).state, State::TimedOut);
}

TEST_F(SchedulesTest, AreImportedOneByOne) {
    ScheduleDefinition noZone = schedule(22);
    noZone.paZones.clear();
    const std::vector<ImportEntry> entries = {{wordy(hostile), {}},
                                              {withItem(schedule(21), 99), {}},
                                              {schedule(0), {}},
                                              {schedule(30), {}},
                                              {withItem(schedule(30), 13), {}},
                                              {noZone, {}},
                                              {schedule(23), "no way"},
                                              {schedule(31), {}}};
    ImportResult result;
    std::size_t calls = 0;
    importSchedules(
        entries, false, {}, [&](const ImportResult&) { ++calls; }, result);
    EXPECT_EQ(calls, entries.size());
    EXPECT_EQ(result.imported, 3U);
    EXPECT_FALSE(result.unknownEntry);
    const std::pair<std::size_t, const char*> failed[] = {
        {2, "the server refuses: schedule 21: unknown dictionary item 99"},
        {3, "the id is missing, or not above 0"},
        {5, "schedule 30 is in the list twice"},
        {6, "zones are missing"},
        {7, "no way"}};
    ASSERT_EQ(result.failed.size(), std::size(failed));
    for (std::size_t i = 0; i < result.failed.size(); ++i) {
        EXPECT_EQ(result.failed[i].entry, failed[i].first);
        EXPECT_EQ(result.failed[i].reason.find(failed[i].second), 0U) << result.failed[i].reason;
    }
    EXPECT_EQ(gPaController.findSchedule(12), wordy(hostile));

    const std::vector<ImportEntry> changed = {{withItem(schedule(30), 13), {}}};
    ImportResult again;
    importSchedules(changed, false, {}, {}, again);
    EXPECT_EQ(again.failed.at(0).reason, "there is a schedule 30 already");
    importSchedules(changed, true, {}, {}, again);
    EXPECT_EQ(again.imported, 1U);
    EXPECT_EQ(gPaController.findSchedule(30)->dictionaryItems, std::vector<unsigned>{13});

    server.ignoreRequests(true);
    ImportResult cut;
    importSchedules({{schedule(30), {}}, {schedule(40), {}}, {schedule(41), {}}}, true, {0ms}, {},
                    cut);
    EXPECT_EQ(cut.unknownEntry, 1U);
    EXPECT_EQ(cut.unknown.state, State::TimedOut);
    EXPECT_EQ(cut.imported, 0U);
}

}  // namespace
