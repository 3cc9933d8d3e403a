#include <cmath>
#include <gtest/gtest.h>
#include <stdexcept>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

using Texts = std::vector<std::string>;

RecordBuilder fullRecord() {
    RecordBuilder record(32);
    for (const std::size_t column :
         std::vector<std::size_t>{5, 8, 10, 13, 14, 16, 18, 19, 20, 21, 22, 23, 24, 25, 29, 30}) {
        record.with(column, "skipped");
    }
    return record.with(0, "17")
        .with(1, "\"Hall\"")
        .with(2, "\"North\"")
        .with(3, "\"10.1.1.2\"")
        .with(4, "1")
        .with(6, "\"1,2\"")
        .with(7, "1")
        .with(9, "1")
        .with(11, "-6.5")
        .with(12, "2")
        .with(15, "3")
        .with(17, "4")
        .with(26, "\"Hall^\\\"A^B\\\"^Hall/North\"")
        .with(27, "2")
        .with(28, "M1^\"M^2\"")
        .with(31, "\"\"");
}

struct SinksTest : testing::Test {
    SinksTest() {
        recordingHost::reset();
        controller.registerObserver(&observer);
    }

    std::string handle(int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdatePaSink(key, record.list());
        return recordingHost::transcript();
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(SinksTest, DecodesEveryColumn) {
    handle(4, fullRecord().with(31, "\"log \\\\ text\""));
    const PaSink sink = controller.getPaSinks().at(0);
    EXPECT_EQ(sink.id, 17);
    EXPECT_EQ(sink.location, "Hall");
    EXPECT_EQ(sink.label, "North");
    EXPECT_EQ(sink.ipAddress, "\"10.1.1.2\"");
    EXPECT_EQ(sink.type, PaSink::HIGH_IMPEDANCE_SPEAKER_BUS);
    EXPECT_EQ(sink.typeAsString, "HIGH_IMPEDANCE_SPEAKER_BUS");
    EXPECT_EQ(sink.ampPortList, "\"1,2\"");
    EXPECT_EQ(sink.state, PaSink::IDLE);
    EXPECT_EQ(sink.announcementType, PaSink::FILE_PLAY);
    EXPECT_EQ(sink.outputGain.getLevel(), -6.5);
    EXPECT_EQ(sink.muteState, PaSink::PARTIALLY_MUTED);
    EXPECT_EQ(sink.monitoringSinkId, 3);
    EXPECT_EQ(sink.healthState, PaSink::INACTIVE);
    EXPECT_EQ(sink.paZoneList, (Texts{"Hall", "A^B", "Hall/North"}));
    EXPECT_FALSE(sink.monitoringEnabled);
    EXPECT_EQ(sink.monitoringZoneList, (Texts{"M1", "M^2"}));
    EXPECT_EQ(sink.mediaLog, "log \\ text");
}

TEST_F(SinksTest, AbsentColumnsKeepTheirDefaults) {
    handle(4, {"17"});
    const PaSink sink = controller.getPaSinks().at(0);
    EXPECT_EQ(sink.ipAddress, "0.0.0.0");
    EXPECT_EQ(sink.typeAsString, "SINK_TYPE_NOT_DEFINED");
    EXPECT_EQ(sink.outputGain.getLevel(), -96.0);
    EXPECT_EQ(sink.muteState, PaSink::NOT_MUTED);
    EXPECT_TRUE(sink.sinkHasDigitalRoute);
    EXPECT_TRUE(sink.monitoringEnabled);
    EXPECT_TRUE(sink.isEnabled);
    EXPECT_TRUE(sink.paZoneList.empty());
}

TEST_F(SinksTest, NamesTheTypesUpToSeven) {
    const Texts names = {"SINK_TYPE_NOT_DEFINED",
                         "HIGH_IMPEDANCE_SPEAKER_BUS",
                         "LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT",
                         "INDUCTION_LOOP_OUTPUT",
                         "LINE_LEVEL_AUDIO_OUTPUT",
                         "INTERCOM_HELP_POINT",
                         "TELEPHONY_ENDPOINT",
                         "RADIO_REBROADCAST",
                         "UNKNOWN_TYPE",
                         "UNKNOWN_TYPE",
                         "UNKNOWN_TYPE"};
    for (int type = 0; type <= 10; ++type) {
        handle(type + 1, fullRecord().with(4, std::to_string(type)));
        EXPECT_EQ(controller.getPaSinks().back().typeAsString,
                  names[static_cast<std::size_t>(type)]);
    }
    handle(12, fullRecord().with(4, "-1"));
    EXPECT_EQ(controller.getPaSinks().back().typeAsString, "UNKNOWN_TYPE");
}

TEST_F(SinksTest, TellsOfEachChange) {
    debugLevel = 1;
    EXPECT_EQ(handle(4, fullRecord()),
              "*log 1 addUpdatePaSink: sinkId >17< added to list. Total sinks >1<\n"
              "*o: sink 17 North\n*event 8 17\n");
    EXPECT_EQ(handle(4, fullRecord()), "*event 8 17\n");
    EXPECT_EQ(handle(4, fullRecord().with(26, "X^Y^Z").with(28, "P^Q")), "*event 8 17\n")
        << "only the length of a zone list is compared";
    EXPECT_EQ(handle(4, fullRecord().with(4, "2")),
              "*log 1 addUpdatePaSink: sinkId >17< updated\n*o: sink 17 North\n*event 8 17\n");
    EXPECT_EQ(controller.getPaSinks().at(0).type, PaSink::LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT);
    EXPECT_EQ(controller.getPaSinks().at(0).typeAsString, "HIGH_IMPEDANCE_SPEAKER_BUS");
    EXPECT_EQ(handle(4, fullRecord().with(0, "18").with(2, "South")),
              "*log 1 addUpdatePaSink: sinkId >17< added to list. Total sinks >1<\n"
              "*o: sink 17 North\n*event 8 17\n")
        << "an entry with another id stays as it is";
}

TEST_F(SinksTest, EachComparedColumnCountsAsAChange) {
    const std::vector<std::pair<std::size_t, const char*>> changes = {
        {1, "x"},  {2, "x"},  {3, "x"},  {4, "7"},  {6, "x"},  {7, "2"},  {9, "0"}, {11, "-7"},
        {12, "0"}, {15, "9"}, {17, "1"}, {26, "Z"}, {27, "1"}, {28, "M"}, {31, "m"}};
    for (const auto& [column, text] : changes) {
        handle(static_cast<int>(column) + 1, fullRecord());
        const std::string told =
            handle(static_cast<int>(column) + 1, fullRecord().with(column, text));
        EXPECT_NE(told.find("*o: sink 17"), std::string::npos) << column;
        const std::string again =
            handle(static_cast<int>(column) + 1, fullRecord().with(column, text));
        EXPECT_EQ(again, "*event 8 17\n") << "column " << column << " was not copied";
    }
}

TEST_F(SinksTest, HandsOnEachNewMediaLogOnce) {
    handle(4, fullRecord().with(31, "first"));
    EXPECT_EQ(handle(4, fullRecord().with(31, "second")),
              "*campaign log second\n*o: sink 17 North\n*event 8 17\n");
    EXPECT_EQ(handle(4, fullRecord().with(31, "second").with(2, "N")),
              "*o: sink 17 N\n*event 8 17\n");
    EXPECT_EQ(handle(4, fullRecord()), "*o: sink 17 North\n*event 8 17\n");
    gAudioServerInstance = nullptr;
    EXPECT_EQ(handle(4, fullRecord().with(31, "third")), "*o: sink 17 North\n*event 8 17\n");
}

TEST_F(SinksTest, ListsAllOrNone) {
    handle(9, fullRecord().with(0, "90"));
    handle(4, fullRecord());
    for (const int all : {-1, 1, 3}) {
        EXPECT_EQ(controller.getPaSinks(all).size(), 2U) << all;
    }
    for (const int none : {0, -2, -5}) {
        EXPECT_TRUE(controller.getPaSinks(none).empty()) << none;
    }
    EXPECT_EQ(controller.getPaSinks()[0].id, 17);
}

template <class Exception, class Call>
std::string thrownBy(Call call) {
    try {
        call();
    } catch (const Exception& e) {
        return e.what();
    }
    return "nothing thrown";
}

TEST_F(SinksTest, SendsAGainInRange) {
    PaSink sink;
    sink.id = 17;
    sink.type = PaSink::LINE_LEVEL_AUDIO_OUTPUT;
    sink.setGain(-12.5, true, false);
    sink.setGain(-96, false, true);
    sink.setGain(0.0, false, false);
    sink.setGain(std::nan(""), false, false);
    EXPECT_EQ(recordingHost::transcript(),
              "send -1 92/8 1 17,-12.5,1,0\nsend -1 92/8 1 17,-96,0,1\n"
              "send -1 92/8 1 17,0,0,0\nsend -1 92/8 1 17,nan,0,0\n");
    for (const double level : {-96.5, 0.1}) {
        EXPECT_EQ(thrownBy<std::out_of_range>([&] { sink.setGain(level, true, true); }),
                  "PaSink::setGain(): Invalid Gain Level. Valid Range [-96, 0]");
    }
    sink.type = PaSink::ZENTRIQ_KPL2;
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { sink.setGain(5, true, true); }),
              "setGain: Unsupported Sink Type >9<");
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { sink.getGain(); }),
              "getGain: Unsupported Sink Type >9<");
    sink.type = PaSink::HIGH_IMPEDANCE_SPEAKER_BUS;
    EXPECT_EQ(sink.getGain().getLevel(), -96.0);
    EXPECT_EQ(recordingHost::transcript(), "");
}

TEST_F(SinksTest, SendsMonitoringAndReset) {
    PaSink sink;
    sink.id = 17;
    sink.setPAMonitoring(true);
    sink.setPAMonitoring(false);
    EXPECT_TRUE(sink.getPAMonitoring());
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { sink.reset(); }),
              "reset: Unsupported Sink Type >0<");
    sink.type = PaSink::ZENTRIQ_RMX4;
    sink.reset();
    sink.type = PaSink::ZENTRIQ_KPL2;
    sink.reset();
    EXPECT_EQ(recordingHost::transcript(),
              "send -1 92/10 1 1,17\nsend -1 92/10 1 0,17\n"
              "send -1 92/29 1 17\nsend -1 92/29 1 17\n");
}

}  // namespace
