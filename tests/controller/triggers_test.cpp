// Triggers and selectors: what the controller answers for a source, and this client's own triggers.
#include "client/recordText.h"
#include "tests/controller/fixtures.h"

namespace {

struct TriggersTest : OwnController {
    void addTrigger(int key, const std::string& fields) {
        give<&PAController::addUpdatePaTrigger>(key, fieldsOf(fields));
    }
    void addSelector(int key, const std::string& fields) {
        give<&PAController::addUpdatePaSelector>(key, fieldsOf(fields));
    }
    template <class Record>
    static std::vector<int> idsOf(const std::vector<Record>& records) {
        std::vector<int> ids;
        for (const Record& record : records) {
            ids.push_back(record.id);
        }
        return ids;
    }
};

TEST_F(TriggersTest, OfASourceAndTheirStatesByTheirOwnIds) {
    addTrigger(9, "31|4|-|-|-|-|-|2");
    addTrigger(8, "30|4|-|-|-|-|-|1");
    addTrigger(7, "31|5|-|-|-|-|-|0");
    addTrigger(6, "29|-1");
    EXPECT_EQ(idsOf(controller.getHwPaTriggers(4)), (std::vector<int>{30, 31}));
    EXPECT_TRUE(controller.getHwPaTriggers(0).empty());
    EXPECT_TRUE(controller.getHwPaTriggers(-1).empty());
    EXPECT_EQ(controller.getHwPaTriggerState(30), PaTrigger::INACTIVE);
    EXPECT_EQ(controller.getHwPaTriggerState(31), PaTrigger::UNKNOWN) << "the first in key order";
    EXPECT_EQ(controller.getHwPaTriggerState(9), PaTrigger::UNKNOWN);
}

TEST_F(TriggersTest, SelectorsAnswerInTheSameWay) {
    addSelector(9, "41|4|-|-|-|-|-|-|-|-|-|-|1");
    addSelector(8, "40|4|-|-|-|-|-|-|-|-|-|-|0");
    addSelector(7, "41|5|-|-|-|-|-|-|-|-|-|-|2");
    addSelector(6, "39|-1");
    addSelector(0, "38");
    EXPECT_EQ(idsOf(controller.getPaSelectors(4)), (std::vector<int>{40, 41}));
    EXPECT_TRUE(controller.getPaSelectors(0).empty());
    EXPECT_TRUE(controller.getPaSelectors(-1).empty());
    EXPECT_EQ(controller.getPaSelectorState(40), PaSelector::ENABLED_AND_UNKNOWN);
    EXPECT_EQ(controller.getPaSelectorState(41), PaSelector::ENABLED_AND_ACTIVE);
    for (const int unknown : {9, 0, -1, 38}) {
        EXPECT_EQ(controller.getPaSelectorState(unknown), PaSelector::DISABLED);
    }
}

TEST_F(TriggersTest, ReservedOperationsOfSelectorsPassTheMutexAndDoNothing) {
    const auto callAll = [this](int selectorId, int sinkId) {
        recordingHost::mutexEntries();
        EXPECT_TRUE(controller.getPaSinksForSelector(selectorId).empty());
        controller.addPaSinkToSelector(selectorId, sinkId);
        controller.deletePaSinkFromSelector(selectorId, sinkId);
        controller.enablePaSelector(selectorId);
        controller.disablePaSelector(selectorId);
        return recordingHost::mutexEntries();
    };
    addSelector(9, "41");
    EXPECT_EQ(callAll(41, 1), 5);
    EXPECT_EQ(callAll(41, 0), 4) << "a sink is added by its id only";
    EXPECT_EQ(callAll(0, 1) + callAll(-1, 1), 0);
    EXPECT_TRUE(controller.getPaSinksForSelector(41).empty());
    EXPECT_EQ(controller.getPaSelectors().at(0).state, PaSelector::DISABLED);
    EXPECT_EQ(recordingHost::transcript(), "");
}

TEST_F(TriggersTest, MadeByTheApplicationAreNumbered) {
    EXPECT_EQ(controller.createSwPaTrigger(3, 0, "chime1", "show"), 1);
    EXPECT_EQ(controller.createSwPaTrigger(7, 100), 2);
    EXPECT_EQ(controller.createSwPaTrigger(3, -1), 0);
    EXPECT_EQ(controller.createSwPaTrigger(3, 101), 0);
    EXPECT_EQ(controller.createSwPaTrigger(0, 50), 0);
    gAudioServerInstance = nullptr;
    EXPECT_EQ(controller.createSwPaTrigger(3, 50), 0);
    recordingHost::reset();
    EXPECT_EQ(paclient::linesOf(controller.getSwPaTriggers()),
              "1|0|0|User Created "
              "Trigger|TRIGGER_TYPE_UNDEFINED|uuid-self|0|ABSOLUTE_PRIORITY|INACTIVE|no|"
              "3|chime1|show\n"
              "2|0|0|User Created "
              "Trigger|TRIGGER_TYPE_UNDEFINED|uuid-self|100|ABSOLUTE_PRIORITY|INACTIVE|"
              "no|7||\n");
    for (const int id : {1, 9, 0}) {
        controller.deleteSwPaTrigger(id);
    }
    EXPECT_EQ(controller.createSwPaTrigger(3, 50), 3);
    controller.deleteSwPaTrigger(3);
    EXPECT_EQ(controller.createSwPaTrigger(3, 50), 3) << "the highest is given out again";
    EXPECT_EQ(recordingHost::transcript(), "") << "nothing is sent or reported";
}

TEST_F(TriggersTest, UnknownToTheApplicationAreReportedOnceItHasMadeOne) {
    const std::string unknown = ": SWTriggerId >5< not created by me\n";
    recordingHost::mutexEntries();
    controller.activateSwPaTrigger(5);
    controller.deactivateSwPaTrigger(5);
    EXPECT_EQ(recordingHost::transcript(), "");
    ASSERT_GT(controller.createSwPaTrigger(3, 50), 0);
    controller.activateSwPaTrigger(0);
    controller.deactivateSwPaTrigger(-1);
    EXPECT_EQ(recordingHost::mutexEntries(), 1) << "to make it";
    controller.activateSwPaTrigger(5);
    controller.deactivateSwPaTrigger(5);
    EXPECT_EQ(recordingHost::transcript(), "*error 1 activateSwPaTrigger" + unknown +
                                               "*error 1 deactivateSwPaTrigger" + unknown);
    controller.activateSwPaTrigger(1);
    EXPECT_EQ(controller.getSwPaTriggers().at(0).trigger.state, PaTrigger::INACTIVE);
}

}  // namespace
