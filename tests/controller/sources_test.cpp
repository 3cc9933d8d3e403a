// SPDX-License-Identifier: Apache-2.0
// Sources: their locks and meters, the triggers and selectors that belong to them.
#include "client/recordText.h"
#include "tests/controller/fixtures.h"

namespace {

using Texts = std::vector<std::string>;

/// A source record with the holder of its lock.
std::string report(int sourceId, const std::string& holder) {
    return giveSource(sourceId, with({std::to_string(sourceId)}, 9, holder));
}

/// Source 4 is free, another client has locked source 5, this one source 6.
struct SourceLocksTest : ControllerTest {
    SourceLocksTest() {
        report(4, "");
        report(5, "other");
        report(6, "uuid-self");
    }
};

TEST_F(SourceLocksTest, AreTakenAndGivenBackOnceTheServerConfirmsIt) {
    const std::string answered = "sleep 50\nsleep 50\nsleep 100\n*event 6 4\n";
    const auto answer = [](const char* holder) {
        pa::RecordList record(with({"4"}, 9, holder));
        gPaController.addUpdatePaSource(4, record.list());
    };
    inSecondPoll([&] { answer("uuid-self"); });
    EXPECT_TRUE(controller.attachPaSource(4));
    EXPECT_EQ(transcript(), "*send -1 92/1 1 4,uuid-self\n" + answered);
    EXPECT_TRUE(controller.attachPaSource(4)) << "it is held already";
    EXPECT_EQ(transcript(), "");

    gIndirectCXSConnection = true;
    inSecondPoll([&] { answer("other"); });
    EXPECT_TRUE(controller.detachPaSource(4));
    EXPECT_EQ(transcript(), "*send -2 92/2 1 4,uuid-self\n" + answered);
}

TEST_F(SourceLocksTest, AreNotTakenFromAnotherHolderNorWithoutAServer) {
    for (const int id : {5, 7, 0, -4}) {  // 7 is unknown
        EXPECT_FALSE(controller.attachPaSource(id) || controller.detachPaSource(id)) << id;
    }
    EXPECT_FALSE(controller.detachPaSource(4)) << "it is free";
    gAudioServerInstance = nullptr;
    EXPECT_FALSE(controller.attachPaSource(4) || controller.detachPaSource(6));
    EXPECT_EQ(transcript(), "");
}

TEST_F(SourceLocksTest, AreAwaitedForALimitedTimeAndNotInsideACallback) {
    const std::string attach = "*send -1 92/1 1 4,uuid-self\n";
    const std::string detach = "*send -1 92/2 1 6,uuid-self\n";
    gMaxServerWaitTimeSeconds = 2;
    letTimePass();
    EXPECT_FALSE(controller.attachPaSource(4) || controller.detachPaSource(6));
    EXPECT_EQ(transcript(), attach + "sleep 50\nsleep 50\n" + detach + "sleep 50\nsleep 50\n");

    observer.inCallback = [this] {
        EXPECT_FALSE(controller.attachPaSource(4) || controller.detachPaSource(6));
        EXPECT_TRUE(controller.attachPaSource(6)) << "it is held already";
    };
    const std::string why = ": called inside a callback of an observer, where no answer can arrive";
    EXPECT_EQ(giveSink(1, {"1"}), "*o: sink 1 \n" + attach + "*error 1 attachPaSource" + why +
                                      "\n" + detach + "*error 1 detachPaSource" + why +
                                      "\n*event 8 1\n");
    observer.inCallback = nullptr;

    host().sleepAction = [](int) { throw std::bad_alloc(); };
    EXPECT_FALSE(controller.attachPaSource(4));
    EXPECT_NE(transcript().find("error 1 attachPaSource: given up: "), std::string::npos);
    letTimePass([this] { controller.initPaResources(); });
    EXPECT_FALSE(controller.detachPaSource(6)) << "that the locks are forgotten confirms nothing";
}

using SourcesTest = ControllerTest;

TEST_F(SourcesTest, AreMeteredByTheirElement) {
    giveSource(1250, {"250"});
    giveSource(6, {"6"});
    controller.enablePaSourceVUMeter(250);
    controller.disablePaSourceVUMeter(6);
    controller.enablePaSourceVUMeter(150);
    controller.enablePaSourceVUMeter(1250);
    EXPECT_EQ(transcript(), "*meter on 2\n*meter off 0\n");
}

TEST_F(SourcesTest, HaveTriggersAndSelectorsWhoseStateIsFoundByTheirOwnIds) {
    giveTrigger(9, fieldsOf("31|4|-|-|-|-|-|2"));
    giveTrigger(8, fieldsOf("30|4|-|-|-|-|-|1"));
    giveTrigger(7, fieldsOf("31|5|-|-|-|-|-|0"));
    giveTrigger(6, fieldsOf("29|-1"));
    EXPECT_EQ(paclient::memberTexts<&PaTrigger::id>(controller.getHwPaTriggers(4)),
              (Texts{"30", "31"}));
    EXPECT_TRUE(controller.getHwPaTriggers(-1).empty());
    EXPECT_EQ(controller.getHwPaTriggerState(30), PaTrigger::INACTIVE);
    EXPECT_EQ(controller.getHwPaTriggerState(31), PaTrigger::UNKNOWN) << "the first in key order";
    EXPECT_EQ(controller.getHwPaTriggerState(9), PaTrigger::UNKNOWN);

    giveSelector(9, fieldsOf("41|4|-|-|-|-|-|-|-|-|-|-|1"));
    giveSelector(8, fieldsOf("40|-1|-|-|-|-|-|-|-|-|-|-|2"));
    giveSelector(0, fieldsOf("38|4|-|-|-|-|-|-|-|-|-|-|2"));
    EXPECT_EQ(paclient::memberTexts<&PaSelector::id>(controller.getPaSelectors(4)), Texts{"41"});
    EXPECT_TRUE(controller.getPaSelectors(-1).empty());
    EXPECT_EQ(controller.getPaSelectorState(40), PaSelector::ENABLED_AND_ACTIVE);
    EXPECT_EQ(controller.getPaSelectorState(38), PaSelector::DISABLED);
}

TEST_F(SourcesTest, ReservedOperationsOfSelectorsPassTheMutexAndDoNothing) {
    for (const auto& [selector, sink, entries] : {std::tuple{41, 1, 5}, {41, 0, 4}, {0, 1, 0}}) {
        recordingHost::mutexEntries();
        EXPECT_TRUE(controller.getPaSinksForSelector(selector).empty());
        controller.addPaSinkToSelector(selector, sink);
        controller.deletePaSinkFromSelector(selector, sink);
        controller.enablePaSelector(selector);
        controller.disablePaSelector(selector);
        EXPECT_EQ(recordingHost::mutexEntries(), entries);
    }
    EXPECT_EQ(transcript(), "");
}

struct OwnTriggersTest : ControllerTest {
    PAController own;
};

TEST_F(OwnTriggersTest, AreNumbered) {
    recordingHost::reset();
    EXPECT_EQ(own.createSwPaTrigger(3, 0, "chime1", "text"), 1);
    EXPECT_EQ(own.createSwPaTrigger(7, 100), 2);
    for (const auto& [source, priority] : {std::pair{3, -1}, {3, 101}, {0, 50}}) {
        EXPECT_EQ(own.createSwPaTrigger(source, priority), 0);
    }
    const std::string made = "|0|0|User Created Trigger|TRIGGER_TYPE_UNDEFINED|uuid-self|";
    EXPECT_EQ(paclient::linesOf(own.getSwPaTriggers()),
              "1" + made + "0|ABSOLUTE_PRIORITY|INACTIVE|no|3|chime1|text\n" +  //
                  "2" + made + "100|ABSOLUTE_PRIORITY|INACTIVE|no|7||\n");
    own.deleteSwPaTrigger(1);
    EXPECT_EQ(own.createSwPaTrigger(3, 50), 3);
    own.deleteSwPaTrigger(3);
    own.initPaResources();
    EXPECT_EQ(own.createSwPaTrigger(3, 50), 3) << "the highest is given out again";
    EXPECT_EQ(transcript(), "") << "nothing is sent or reported";
    gAudioServerInstance = nullptr;
    EXPECT_EQ(own.createSwPaTrigger(3, 50), 0);
}

TEST_F(OwnTriggersTest, AreReportedAsUnknownOnceThereIsOne) {
    const std::string unknown = ": SWTriggerId >5< not created by me\n";
    recordingHost::reset();
    for (const bool reported : {false, true}) {
        own.activateSwPaTrigger(5);
        own.deactivateSwPaTrigger(5);
        own.activateSwPaTrigger(0);
        EXPECT_EQ(transcript(), !reported ? ""
                                          : "*error 1 activateSwPaTrigger" + unknown +
                                                "*error 1 deactivateSwPaTrigger" + unknown);
        EXPECT_EQ(recordingHost::mutexEntries(), reported ? 3 : 0) << "one to make it";
        EXPECT_GT(own.createSwPaTrigger(3, 50), 0);
    }
}

}  // namespace
