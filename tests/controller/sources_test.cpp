#include <gtest/gtest.h>
#include <sstream>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

const RecordFields full = fieldsOf(
    R"(12|"Room \"A\""|"Desk"|"10.1.1.1"|2|skipped|"in1"|1|skipped|"lock-1"|1|-12.5|1|skipped|skipped|skipped|2)");

std::string text(const PaSource& s) {
    std::ostringstream out;
    out << s.id << '|' << s.location << '|' << s.label << '|' << s.ipAddress << '|' << s.type << '|'
        << s.subAddress << '|' << s.state << '|' << s.isEnabled << '|' << s.inputGain << '|'
        << s.broadcastType << '|' << s.healthState << '|' << s.targetGainAdjustment << '|'
        << s.priority;
    return out.str();
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

TEST_F(SourcesTest, DecodesEveryColumnAndKeepsDefaults) {
    handle(7, full);
    handle(8, {"13"});
    EXPECT_EQ(text(controller.getPaSources().at(0)),
              R"(12|Room "A"|Desk|"10.1.1.1"|2|"in1"|1|1|-12.5|1|2|0|500)");
    EXPECT_EQ(text(controller.getPaSources().at(1)), "13|||0.0.0.0|0||0|1|-96|0|1|0|500");
}

TEST_F(SourcesTest, TellsOfEachChangeAfterThePause) {
    debugLevel = 1;
    EXPECT_EQ(handle(7, full),
              "*log 1 addUpdatePaSource: sourceId >12< added to list. Total available sources >1<\n"
              "*log 1 addUpdatePaSource: Lock Info for sourceId >12<, UUID >\"lock-1\"< added to "
              "list. Total "
              "available lock info in list >1<\n"
              "sleep 100\n*o: source 12 Desk\n*event 6 12\n");
    EXPECT_EQ(handle(7, full),
              "*log 1 addUpdatePaSource: Lock Info for sourceId >12< updated. Updated UUID "
              ">\"lock-1\"<\nsleep 100\n*event 6 12\n");
    EXPECT_EQ(handle(7, with(with(full, 2, "Mic"), 9, "(null)")),
              "*log 1 addUpdatePaSource: sourceId >12< updated. Total available sources >1<\n"
              "*log 1 addUpdatePaSource: Lock Info for sourceId >12< updated. Updated UUID ><\n"
              "sleep 100\n*o: source 12 Mic\n*event 6 12\n");
}

TEST_F(SourcesTest, EachComparedColumnCountsAsAChangeAndIsCopied) {
    int key = 0;
    for (const std::size_t column : std::vector<std::size_t>{1, 2, 3, 4, 6, 7, 11, 16}) {
        handle(++key, full);
        const RecordFields changed = with(full, column, "0");
        EXPECT_NE(handle(key, changed).find("*o: source 12"), std::string::npos) << column;
        EXPECT_EQ(handle(key, changed), "sleep 100\n*event 6 12\n") << column;
    }
    handle(++key, full);
    EXPECT_EQ(handle(key, with(full, 12, "0")), "sleep 100\n*event 6 12\n");
    EXPECT_EQ(handle(key, with(with(full, 12, "0"), 1, "x")).find("sleep"), 0U);
    EXPECT_EQ(controller.getPaSources().back().broadcastType, PaSource::UNICAST_ONLY);
}

TEST_F(SourcesTest, AnotherIdUnderTheSameKeyLeavesTheEntry) {
    handle(7, full);
    debugLevel = 1;
    EXPECT_EQ(
        handle(7, fieldsOf("13|-|Other|-|-|-|-|-|-|lock-2")),
        "*log 1 addUpdatePaSource: sourceId >12< added to list. Total available sources >1<\n"
        "*log 1 addUpdatePaSource: Lock Info for sourceId >13<, UUID >lock-2< added to list. Total "
        "available lock info in list >2<\n"
        "sleep 100\n*o: source 12 Desk\n*event 6 12\n");
    handle(8, full);
    handle(3, {"1"});
    ASSERT_EQ(controller.getPaSources().size(), 3U);
    EXPECT_EQ(controller.getPaSources()[0].id, 1);
    EXPECT_EQ(controller.getPaSources()[2].id, 12);
}

TEST_F(SourcesTest, OnAnIndirectConnectionOnlyTheLocalServersCount) {
    EXPECT_NE(handle(7, with(full, 10, "4")), "");
    gIndirectCXSConnection = true;
    EXPECT_EQ(handle(8, with(full, 10, "4")), "");
    EXPECT_NE(handle(8, with(full, 10, "1")), "");
    EXPECT_NE(handle(9, with(full, 10, "(null)")), "");
    EXPECT_EQ(controller.getPaSources().size(), 3U);
}

TEST_F(SourcesTest, WithdrawnDuringThePauseOrACallbackNobodyElseIsTold) {
    const auto withdraw = [this] {
        observer.inCallback = nullptr;
        controller.deleteAudioVideoControllerInfo(0, 2, 7);
    };
    recordingHost::setSleepAction([&](int) { withdraw(); });
    EXPECT_EQ(handle(7, full), "sleep 100\n*o: source 12 deleted\n*event 7 12\n");
    recordingHost::setSleepAction(nullptr);
    observer.inCallback = withdraw;
    EXPECT_EQ(handle(7, full),
              "sleep 100\n*o: source 12 Desk\n*o: source 12 deleted\n*event 7 12\n");
}

}  // namespace
