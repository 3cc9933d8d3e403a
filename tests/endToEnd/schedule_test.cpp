// One schedule on its whole way: application, controller, link, simulated server with its
// database, and back.
#include <chrono>
#include <gtest/gtest.h>
#include <iostream>
#include <string>
#include <thread>

#include "client/recordText.h"
#include "tests/endToEnd/EndToEndFixture.h"
#include "tests/endToEnd/hostileTexts.h"
#include "tests/support/noPauses.h"

namespace {

using namespace std::chrono_literals;

constexpr std::time_t mondayMorning = 1767592770;  // 2026-01-05 06:59:30 in Berlin
const std::string chime = "Ding, \"dong\" ^";

/// Each level of encoding doubles the last one.
Texts scheduleTexts() {
    Texts texts = hostileTexts;
    texts.emplace_back("a,b^c!d~e=f\"g\\h\r\n\n");
    for (std::string& text : texts) {
        if (text.size() > 10'000) {
            text = std::string(2'000, '\\') + std::string(2'000, '"');
        }
    }
    return texts;
}

simserver::Station station() {
    simserver::Station station;
    station.name = "Test";
    station.timeZone = "Europe/Berlin";
    for (const std::string& id : scheduleTexts()) {
        station.zones.push_back({id, 1});
    }
    station.zones.push_back({"Hall", 1});
    station.voices.push_back({4, "en", "anna", 48000, "", ""});
    station.dictionary.push_back({12, "Mind the gap", 2s, false});
    station.dictionary.push_back({3, chime, 1s, true});
    return station;
}

struct ScheduleTest : EndToEndFixture {
    ScheduleTest() : EndToEndFixture(station(), mondayMorning) {
        skipPauses();
        connect();
    }

    static ScheduleDefinition daily() {
        ScheduleDefinition schedule;
        schedule.descrption = "Morning";
        schedule.startYear = 2026;
        schedule.startMonth = 1;
        schedule.startDay = 5;
        schedule.startHour = 7;
        schedule.startMinute = 0;
        schedule.endYear = 2027;
        schedule.endMonth = 12;
        schedule.endDay = 31;
        schedule.endHour = 23;
        schedule.endMinute = 59;
        schedule.dayMask = 31;
        schedule.paZones = {"Hall"};
        schedule.announcementType = AT_TEV;
        schedule.dictionaryItems = {12};
        return schedule;
    }
};

TEST_F(ScheduleTest, ABurstArrivesWholeBeforeALinkIsStopped) {
    ScheduleDefinition schedule = daily();
    for (schedule.Id = 1; schedule.Id <= 3000; ++schedule.Id) {
        gPaController.createSchedule(schedule);
    }
    link.stop(std::chrono::minutes(1));
    connect();  // and receives what the server holds
    EXPECT_EQ(gPaController.listSchedules().size(), 3000U);
}

TEST_F(ScheduleTest, PlaysAtTheNextMinuteUnderTheIdThatTheServerChose) {
    pa::setTimeSource({});  // the time that this takes is of interest, pauses included
    const auto before = std::chrono::steady_clock::now();
    const int id = gPaController.createScheduleSync(daily());
    const std::chrono::duration<double, std::milli> took =
        std::chrono::steady_clock::now() - before;
    std::cout << "createScheduleSync took " << took.count() << " ms\n";
    skipPauses();
    EXPECT_EQ(id, 1);
    advance(29'999ms);
    EXPECT_TRUE(gPaController.getAnnouncementRequests().empty());
    advance(1ms);
    ASSERT_EQ(gPaController.getAnnouncementRequests().size(), 1U);
    EXPECT_EQ(gPaController.getAnnouncementRequests()[0].getRequestID(), "schedule-1-1");
    EXPECT_EQ(gPaController.getPaZones().back().activity, 1);

    gPaController.deleteSchedule(id);
    while (!gPaController.listSchedules().empty()) {
        std::this_thread::yield();
    }
}

TEST_F(ScheduleTest, HostileTextsComeBackAsTheyWere) {
    for (const std::string& hostile : scheduleTexts()) {
        ScheduleDefinition both = daily();
        both.descrption = hostile;
        both.paZones = {hostile, "Hall"};
        both.announcementType = AT_TTS;
        both.dictionaryItems.clear();
        both.ttsList = {{0, hostile, "en", "anna"}, {0, "after it", "en", "anna"}};
        both.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
        both.displayTemplateName = hostile;
        both.displayTemplateKeyValueList = {{hostile, hostile}, {"empty", ""}};
        both.displayTemplateValidityPeriodSeconds = 30;
        both.gain = -3.5;
        both.priorityMode = APM_RELATIVE_PRIORITY;
        both.priorityLevel = -20;
        both.frequency = 15;

        ScheduleDefinition stored = daily();
        stored.announcementType = AT_STORED_DATA;
        stored.dictionaryItems.clear();
        stored.storedDataSourceId = 5;
        stored.storedDataFilePath = hostile;

        ScheduleDefinition items = daily();
        items.repeatCnt = 2;
        items.chime = chime;

        for (ScheduleDefinition schedule : {both, stored, items}) {
            schedule.Id = gPaController.createScheduleSync(schedule);
            EXPECT_EQ(paclient::lineOf(gPaController.listSchedules().back()),
                      paclient::lineOf(schedule));
        }
    }
}

}  // namespace
