#include <gtest/gtest.h>
#include <sstream>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

const RecordFields full = fieldsOf(R"(31|4|"Door"|3|s|"key 1"|700|2|s|8|1)");

template <class Triggers>
std::string texts(const Triggers& triggers) {
    std::ostringstream out;
    for (const PaTrigger& t : triggers) {
        out << t.id << '|' << t.associatedSourceId << '|' << t.associatedSelectorId << '|'
            << t.label << '|' << t.type << '|' << t.subAddress << '|' << t.priority << '|'
            << t.priorityMode << '|' << t.state << '|' << t.resumeAfterInterruption << ' ';
    }
    return out.str();
}

struct TriggersTest : testing::Test {
    TriggersTest() {
        recordingHost::reset();
        controller.registerObserver(&observer);
    }

    std::string handle(int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdatePaTrigger(key, record.list());
        return recordingHost::transcript();
    }

    std::string error(const std::string& caller, int id) {
        return "*error 1 " + caller + ": SWTriggerId >" + std::to_string(id) +
               "< not created by me\n";
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(TriggersTest, CachesHardwareTriggersAndTellsOfEachChange) {
    debugLevel = 1;
    EXPECT_EQ(handle(9, full),
              "*log 1 addUpdatePaTrigger: triggerId >31< added to list. Total HW triggers >1<\n"
              "*o: trigger 31 \"Door\"\n*event 10 31\n");
    EXPECT_EQ(handle(9, full), "*event 10 31\n");
    EXPECT_EQ(handle(9, with(full, 7, "1")),
              "*log 1 addUpdatePaTrigger: triggerId >31< updated\n"
              "*o: trigger 31 \"Door\"\n*event 10 31\n");
    EXPECT_EQ(handle(9, {"32"}),
              "*log 1 addUpdatePaTrigger: triggerId >31< added to list. Total HW triggers >1<\n"
              "*o: trigger 31 \"Door\"\n*event 10 31\n")
        << "an entry with another id stays as it is";
    handle(2, {"5"});
    EXPECT_EQ(texts(controller.getHwPaTriggers()),
              "5|0|0||1||500|0|0|0 31|4|8|\"Door\"|3|\"key 1\"|700|0|1|0 ");
    debugLevel = 0;
    for (const std::size_t column : std::vector<std::size_t>{1, 2, 3, 5, 6, 7, 9}) {
        const int key = static_cast<int>(column) + 10;
        handle(key, full);
        const RecordFields changed = with(full, column, "0");
        EXPECT_NE(handle(key, changed).find("*o: trigger 31"), std::string::npos) << column;
        EXPECT_EQ(handle(key, changed), "*event 10 31\n") << column << " was not copied";
    }
}

TEST_F(TriggersTest, OnAnIndirectConnectionOnlyTheLocalServersCount) {
    EXPECT_NE(handle(1, with(full, 10, "7")), "");
    gIndirectCXSConnection = true;
    debugLevel = 1;
    EXPECT_EQ(handle(2, with(full, 10, "7")), "");
    EXPECT_NE(handle(3, with(full, 10, "")), "");
    EXPECT_EQ(controller.getHwPaTriggers().size(), 2U);
}

TEST_F(TriggersTest, AnswersForASourceAndATrigger) {
    handle(9, full);
    handle(8, with(with(full, 0, "30"), 7, "1"));
    handle(7, with(with(full, 7, "0"), 1, "5"));
    handle(6, {"29", "-1"});
    EXPECT_EQ(texts(controller.getHwPaTriggers(4)),
              "30|4|8|\"Door\"|3|\"key 1\"|700|0|1|0 31|4|8|\"Door\"|3|\"key 1\"|700|0|2|0 ");
    EXPECT_TRUE(controller.getHwPaTriggers(0).empty());
    EXPECT_TRUE(controller.getHwPaTriggers(-1).empty());
    EXPECT_EQ(controller.getHwPaTriggerState(30), PaTrigger::INACTIVE);
    EXPECT_EQ(controller.getHwPaTriggerState(31), PaTrigger::UNKNOWN) << "the first in key order";
    EXPECT_EQ(controller.getHwPaTriggerState(9), PaTrigger::UNKNOWN);
}

TEST_F(TriggersTest, NumbersTheSoftwareTriggersItMakes) {
    EXPECT_EQ(controller.createSwPaTrigger(3, 0, "chime1", "show"), 1);
    EXPECT_EQ(controller.createSwPaTrigger(7, 100), 2);
    EXPECT_EQ(controller.createSwPaTrigger(3, -1), 0);
    EXPECT_EQ(controller.createSwPaTrigger(3, 101), 0);
    EXPECT_EQ(controller.createSwPaTrigger(0, 50), 0);
    gAudioServerInstance = nullptr;
    EXPECT_EQ(controller.createSwPaTrigger(3, 50), 0);
    recordingHost::reset();
    std::vector<PaTrigger> inner;
    std::string outer;
    for (const PaSWTrigger& made : controller.getSwPaTriggers()) {
        inner.push_back(made.trigger);
        outer += std::to_string(made.associatedSourceId) + "|" + made.preChime + "|" +
                 made.displayParameters + " ";
    }
    EXPECT_EQ(texts(inner),
              "1|0|0|User Created Trigger|0|uuid-self|0|0|1|0 "
              "2|0|0|User Created Trigger|0|uuid-self|100|0|1|0 ");
    EXPECT_EQ(outer, "3|chime1|show 7|| ");

    controller.deleteSwPaTrigger(1);
    controller.deleteSwPaTrigger(9);
    controller.deleteSwPaTrigger(0);
    EXPECT_EQ(controller.createSwPaTrigger(3, 50), 3);
    controller.deleteSwPaTrigger(3);
    EXPECT_EQ(controller.createSwPaTrigger(3, 50), 3) << "the highest is given out again";
    EXPECT_EQ(recordingHost::transcript(), "") << "nothing is sent or told";
}

TEST_F(TriggersTest, ReportsAnUnknownSoftwareTriggerOnceThereIsOne) {
    recordingHost::mutexEntries();
    controller.activateSwPaTrigger(5);
    controller.deactivateSwPaTrigger(5);
    EXPECT_EQ(recordingHost::transcript(), "");
    controller.createSwPaTrigger(3, 50);
    controller.activateSwPaTrigger(0);
    controller.deactivateSwPaTrigger(-1);
    controller.getHwPaTriggers(0);
    EXPECT_EQ(recordingHost::mutexEntries(), 1) << "to make it";
    controller.activateSwPaTrigger(5);
    controller.deactivateSwPaTrigger(5);
    EXPECT_EQ(recordingHost::transcript(),
              error("activateSwPaTrigger", 5) + error("deactivateSwPaTrigger", 5));
    controller.activateSwPaTrigger(1);
    EXPECT_EQ(controller.getSwPaTriggers().at(0).trigger.state, PaTrigger::INACTIVE);
}

}  // namespace
