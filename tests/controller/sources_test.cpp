#include <gtest/gtest.h>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

RecordBuilder fullRecord() {
    return RecordBuilder(17)
        .with(0, "12")
        .with(1, "\"Room \\\"A\\\"\"")
        .with(2, "\"Desk\"")
        .with(3, "\"10.1.1.1\"")
        .with(4, "2")
        .with(5, "skipped")
        .with(6, "\"in1\"")
        .with(7, "1")
        .with(8, "skipped")
        .with(9, "lock-1")
        .with(10, "1")
        .with(11, "-12.5")
        .with(12, "1")
        .with(13, "skipped")
        .with(14, "skipped")
        .with(15, "skipped")
        .with(16, "2");
}

struct SourcesTest : testing::Test {
    SourcesTest() {
        recordingHost::reset();
        controller.registerObserver(&observer);
    }

    std::string handle(int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdatePaSource(key, record.list());
        return recordingHost::transcript();
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(SourcesTest, DecodesEveryColumn) {
    handle(7, fullRecord());
    const PaSource source = controller.getPaSources().at(0);
    EXPECT_EQ(source.id, 12);
    EXPECT_EQ(source.location, "Room \"A\"");
    EXPECT_EQ(source.label, "Desk");
    EXPECT_EQ(source.ipAddress, "\"10.1.1.1\"");
    EXPECT_EQ(source.type, PaSource::ZENTRIQ_IP_PAGING_STATION);
    EXPECT_EQ(source.subAddress, "\"in1\"");
    EXPECT_EQ(source.state, PaSource::NOT_ATTACHED);
    EXPECT_EQ(source.inputGain, -12.5);
    EXPECT_EQ(source.broadcastType, PaSource::UNICAST_ONLY);
    EXPECT_EQ(source.healthState, PaSource::FAULTY);
    EXPECT_TRUE(source.isEnabled);
    EXPECT_EQ(source.targetGainAdjustment, 0);
    EXPECT_EQ(source.priority, 500);
}

TEST_F(SourcesTest, AbsentColumnsKeepTheirDefaults) {
    handle(7, {"12"});
    const PaSource source = controller.getPaSources().at(0);
    EXPECT_EQ(source.ipAddress, "0.0.0.0");
    EXPECT_EQ(source.type, PaSource::SOURCE_TYPE_NOT_DEFINED);
    EXPECT_EQ(source.state, PaSource::UNKNOWN);
    EXPECT_EQ(source.inputGain, -96.0);
    EXPECT_EQ(source.broadcastType, PaSource::MULTICAST_AND_UNICAST);
    EXPECT_EQ(source.healthState, PaSource::HEALTHY);
}

TEST_F(SourcesTest, TellsOfEachChangeAfterThePause) {
    debugLevel = 1;
    EXPECT_EQ(
        handle(7, fullRecord()),
        "*log 1 addUpdatePaSource: sourceId >12< added to list. Total available sources >1<\n"
        "*log 1 addUpdatePaSource: Lock Info for sourceId >12<, UUID >lock-1< added to list. Total "
        "available lock info in list >1<\n"
        "sleep 100\n*o: source 12 Desk\n*event 6 12\n");
    EXPECT_EQ(handle(7, fullRecord()),
              "*log 1 addUpdatePaSource: Lock Info for sourceId >12< updated. Updated UUID "
              ">lock-1<\nsleep 100\n*event 6 12\n");
    EXPECT_EQ(handle(7, fullRecord().with(2, "Mic").with(9, "(null)")),
              "*log 1 addUpdatePaSource: sourceId >12< updated. Total available sources >1<\n"
              "*log 1 addUpdatePaSource: Lock Info for sourceId >12< updated. Updated UUID ><\n"
              "sleep 100\n*o: source 12 Mic\n*event 6 12\n");
}

TEST_F(SourcesTest, EachComparedColumnCountsAsAChange) {
    const std::vector<std::pair<std::size_t, const char*>> changes = {
        {1, "x"}, {2, "x"}, {3, "x"}, {4, "9"}, {6, "x"}, {7, "2"}, {11, "-1"}, {16, "1"}};
    for (const auto& [column, text] : changes) {
        PAController fresh;
        fresh.registerObserver(&observer);
        RecordList before(fullRecord());
        fresh.addUpdatePaSource(7, before.list());
        recordingHost::transcript();
        RecordList after(fullRecord().with(column, text).with(12, "0"));
        fresh.addUpdatePaSource(7, after.list());
        EXPECT_NE(recordingHost::transcript().find("*o: source 12"), std::string::npos) << column;
        EXPECT_EQ(fresh.getPaSources().at(0).broadcastType, PaSource::UNICAST_ONLY);
    }
    handle(7, fullRecord());
    EXPECT_EQ(handle(7, fullRecord().with(12, "0")), "sleep 100\n*event 6 12\n");
}

TEST_F(SourcesTest, AnotherIdUnderTheSameKeyLeavesTheEntry) {
    handle(7, fullRecord());
    debugLevel = 1;
    EXPECT_EQ(
        handle(7, fullRecord().with(0, "13").with(2, "Other").with(9, "lock-2")),
        "*log 1 addUpdatePaSource: sourceId >12< added to list. Total available sources >1<\n"
        "*log 1 addUpdatePaSource: Lock Info for sourceId >13<, UUID >lock-2< added to list. Total "
        "available lock info in list >2<\n"
        "sleep 100\n*o: source 12 Desk\n*event 6 12\n");
    debugLevel = 0;
    handle(8, fullRecord());
    handle(3, fullRecord().with(0, "1"));
    ASSERT_EQ(controller.getPaSources().size(), 3U);
    EXPECT_EQ(controller.getPaSources()[0].id, 1);
    EXPECT_EQ(controller.getPaSources()[2].id, 12);
}

TEST_F(SourcesTest, OnAnIndirectConnectionOnlyTheLocalServersCount) {
    EXPECT_NE(handle(7, fullRecord().with(10, "4")), "");
    gIndirectCXSConnection = true;
    EXPECT_EQ(handle(8, fullRecord().with(10, "4")), "");
    EXPECT_NE(handle(8, fullRecord().with(10, "1")), "");
    EXPECT_NE(handle(9, fullRecord().with(10, "(null)")), "");
    EXPECT_EQ(controller.getPaSources().size(), 3U);
}

TEST_F(SourcesTest, WithdrawnDuringThePauseNobodyIsTold) {
    recordingHost::setSleepAction(
        [this](int) { controller.deleteAudioVideoControllerInfo(0, 2, 7); });
    EXPECT_EQ(handle(7, fullRecord()), "sleep 100\n*o: source 12 deleted\n*event 7 12\n");
    recordingHost::setSleepAction(nullptr);
    observer.inCallback = [this] {
        observer.inCallback = nullptr;
        controller.deleteAudioVideoControllerInfo(0, 2, 7);
    };
    EXPECT_EQ(handle(7, fullRecord()),
              "sleep 100\n*o: source 12 Desk\n*o: source 12 deleted\n*event 7 12\n");
}

TEST_F(SourcesTest, ReportsAMissingRecord) {
    controller.addUpdatePaSource(7, nullptr);
    EXPECT_EQ(recordingHost::transcript(), "error 3 addUpdatePaSource: no record for key >7<\n");
}

}  // namespace
