// SPDX-License-Identifier: Apache-2.0
#include "client/schedules.h"

#include <stdexcept>

#include "client/scheduleJson.h"
#include "tests/client/changes.h"
#include "tests/client/serverFixture.h"
#include "tests/support/schedules.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace std::chrono_literals;
using namespace paclient;

TEST(ScheduleCheck, RefusesWhatCannotBeOrWouldBeLost) {
    using Edit = void (*)(ScheduleDefinition&);
    const std::pair<Edit, const char*> cases[] = {
        {[](auto& s) { s.startDay = 31, s.startMonth = 11; }, "start: 2026-11-31 does not exist"},
        {[](auto& s) { s.startHour = 24; }, "start: 24:00 is no time"},
        {[](auto& s) { s.endDay = 1, s.endHour = 5; }, "2026-12-01T05:59, is before"},
        {[](auto& s) { s.dayMask = 128; }, "the mask 128"},
        {[](auto& s) { s.paZones.clear(); }, "zones are missing"},
        {[](auto& s) { s.dictionaryItems.clear(); }, "items are missing"},
        {[](auto& s) { s.visualAnnouncementType = AT_DISPLAY_TEMPLATE; }, "template is missing"},
        {[](auto& s) { s = wordy("x"), s.ttsList[0].text = ""; }, "a text is empty"},
        {[](auto& s) { s = wordy("{SCREEN}"); }, "is that of the template's name"},
        {[](auto& s) { s = wordy("x"), s.ttsList[0].rate = 8000; }, "'ttsList' does not belong"},
        {[](auto& s) { s.storedDataSourceId = 3; }, "'storedDataSourceId' does not belong"},
        {[](auto& s) { s.chime = "1,2"; }, "the chime '1,2' has one of"},
        {[](auto& s) { s.descrption = "\tx"; }, "begins with a blank"},
        {[](auto& s) { s.descrption = "\xff"; }, "is not UTF-8"},
        {[](auto& s) { s.paZones = {std::string(1, '\0')}; }, "has a NUL"},
        {[](auto& s) { s = wordy(hostile); }, "nothing thrown"},
    };
    for (const auto& [edit, refusal] : cases) {
        ScheduleDefinition s = schedule();
        edit(s);
        const std::string found = thrownBy<std::invalid_argument>([&] { checkSchedule(s); });
        EXPECT_NE(found.find(refusal), std::string::npos) << found << " is not: " << refusal;
    }
}

using SchedulesTest = ClientTest;

/// With a dictionary item: the server has 1 and 12.
ScheduleDefinition playing(unsigned item, int id) {
    ScheduleDefinition result = schedule(id);
    result.dictionaryItems = {item};
    return result;
}

ScheduleDefinition displayed(int seconds) {
    ScheduleDefinition result = schedule(5);
    result.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
    result.displayTemplateName = "Main";
    result.displayTemplateValidityPeriodSeconds = seconds;
    result.gain = 1.0 / 3;
    return result;
}

TEST_F(SchedulesTest, ArePutInChangedAndRemoved) {
    const Wait wait;
    NewSchedule created;
    const auto create = [&](unsigned item) {
        created = createSchedule(playing(item, 0), wait);
        return created.confirmation;
    };
    expectConfirmations({
        {[&] { return putSchedule(playing(1, 1), wait); }, "done"},
        {[&] { return putSchedule(playing(1, 1), wait); }, "as before"},
        {[&] { return putSchedule(playing(12, 1), wait); }, "done"},
        {[&] { return putSchedule(displayed(9), wait); }, "done"},
        {[&] { return putSchedule(displayed(10), wait); }, "done"},
        {[&] { return putSchedule(playing(99, 1), wait); }, "refused: ..."},
        {[&] { return create(99); }, "refused: ..."},
        {[&] { return create(12); }, "done"},
        {[&] { return removeSchedule(1, wait); }, "done"},
        {[&] { return removeSchedule(1, wait); }, "as before"},
    });
    EXPECT_EQ(created.id, 6);
    EXPECT_EQ(freeScheduleId(), 1);
    EXPECT_THROW((void)putSchedule(schedule(0), wait), std::invalid_argument);
    EXPECT_THROW((void)removeSchedule(0, wait), std::invalid_argument);
    server.ignoreRequests(true);
    EXPECT_EQ(textOf(putSchedule(displayed(11), {0ms})), "timed out");
    EXPECT_EQ(textOf(removeSchedule(5, {0ms})), "timed out");
}

TEST_F(SchedulesTest, AreImportedOneByOne) {
    ScheduleDefinition noZone = schedule(22);
    noZone.paZones.clear();
    const std::vector<ImportEntry> entries = {
        {wordy(hostile), {}}, {playing(99, 21), {}}, {schedule(0), {}},        {schedule(30), {}},
        {playing(1, 30), {}}, {noZone, {}},          {schedule(23), "no way"}, {schedule(31), {}}};
    ImportResult result;
    std::string calls;
    importSchedules(
        entries, false, {}, [&](const auto&) { calls += '+'; }, result);
    EXPECT_EQ(calls.size(), entries.size());
    EXPECT_EQ(result.imported, 3U);
    EXPECT_FALSE(result.unknownEntry);
    std::string failed;
    for (const ImportResult::Failed& failure : result.failed) {
        failed += std::to_string(failure.entry) + ' ' + failure.reason + '\n';
    }
    EXPECT_EQ(failed,
              "2 the server refuses: schedule 21: unknown dictionary item 99\n"
              "3 the id is missing, or not above 0\n"
              "5 schedule 30 is in the list twice\n"
              "6 zones are missing\n"
              "7 no way\n");
    EXPECT_EQ(gPaController.findSchedule(12), wordy(hostile));

    ImportResult again;
    importSchedules({{playing(1, 30), {}}}, false, {}, {}, again);
    EXPECT_EQ(again.failed.at(0).reason, "there is a schedule 30 already");
    importSchedules({{playing(1, 30), {}}}, true, {}, {}, again);
    EXPECT_EQ(again.imported, 1U);

    server.ignoreRequests(true);
    ImportResult cut;
    importSchedules({{playing(1, 30), {}}, {schedule(40), {}}, {schedule(41), {}}}, true, {0ms}, {},
                    cut);
    EXPECT_EQ(cut.imported, 1U) << "as before";
    EXPECT_EQ(cut.unknownEntry, 2U);
    EXPECT_EQ(textOf(cut.unknown), "timed out");
}

TEST_F(SchedulesTest, AreReadFromJsonAsTheServerSpellsThem) {
    putSchedule(wordy(hostile), {});
    const std::vector<ImportEntry> same =
        readSchedules(parseScheduleList(schedulesAsJson().dump()));
    ASSERT_EQ(same.size(), 1U);
    EXPECT_EQ(same[0].schedule, wordy(hostile));

    const auto read = readSchedules(parseScheduleList(R"([
        {"Id": 1, "paZones": ["yard", "CELLAR"], "ttsList": [{"text": "x", "voice": "amelia", "language": "EN"}]},
        {"Id": 1.5}, 7, {"paZones": ["Yrad"]}, {"ttsList": [{"text": 1}]}])"));
    EXPECT_EQ(read[0].schedule.paZones, (std::vector<std::string>{"Yard", "Cellar"}));
    EXPECT_EQ(read[0].schedule.ttsList.at(0).voice, "Amelia");
    EXPECT_EQ(read[0].schedule.ttsList.at(0).language, "en");
    std::string faults;
    for (const ImportEntry& entry : read) {
        faults += entry.fault + '\n';
    }
    EXPECT_EQ(faults,
              "\n"
              "the member 'Id' is not a whole number from -2147483648 to 2147483647\n"
              "is not an object\n"
              "there is no zone 'Yrad'; did you mean 'Yard'?\n"
              "the member 'ttsList' the member 'text' is not a text\n");
    for (const char* const text : {"", "[1", "{}", "\"x\"", "[]]"}) {
        EXPECT_THROW(parseScheduleList(text), std::invalid_argument) << text;
    }
}

}  // namespace
