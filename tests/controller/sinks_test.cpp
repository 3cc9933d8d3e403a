#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"
#include "tests/support/thrownBy.h"

namespace {

using Texts = std::vector<std::string>;

const RecordFields full =
    fieldsOf(R"(17|"Hall"|"North"|"10.1.1.2"|1|s|"1,2"|1|s|1|s|-6.5|2|s|s|3|s|4|s|s|s|s|s|s|s|s|)"
             R"("Hall^\"A^B\"^Hall/North"|2|"M1^M2"|s|s|"log \\ text")");

std::string joined(const Texts& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += text + ";";
    }
    return all;
}

std::string text(const PaSink& s) {
    std::ostringstream out;
    out << s.id << '|' << s.location << '|' << s.label << '|' << s.ipAddress << '|' << s.type << '|'
        << s.typeAsString << '|' << s.ampPortList << '|' << s.state << '|' << s.announcementType
        << '|' << s.outputGain.getLevel() << '|' << s.muteState << '|' << s.monitoringSinkId << '|'
        << s.healthState << '|' << joined(s.paZoneList) << '|' << s.monitoringEnabled << '|'
        << joined(s.monitoringZoneList) << '|' << s.mediaLog << '|' << s.sinkHasDigitalRoute
        << s.isEnabled;
    return out.str();
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

TEST_F(SinksTest, DecodesEveryColumnAndKeepsDefaults) {
    handle(4, full);
    handle(5, {"18"});
    EXPECT_EQ(text(controller.getPaSinks().at(0)),
              R"(17|Hall|North|"10.1.1.2"|1|HIGH_IMPEDANCE_SPEAKER_BUS|"1,2"|1|1|-6.5|2|3|4|)"
              R"(Hall;A^B;Hall/North;|0|M1^M2;|log \ text|11)");
    EXPECT_EQ(text(controller.getPaSinks().at(1)),
              "18|||0.0.0.0|0|SINK_TYPE_NOT_DEFINED||0|0|-96|1|0|0||1|||11");
}

TEST_F(SinksTest, NamesTheTypesUpToSeven) {
    const std::vector<std::pair<int, const char*>> names = {
        {0, "SINK_TYPE_NOT_DEFINED"},
        {1, "HIGH_IMPEDANCE_SPEAKER_BUS"},
        {2, "LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT"},
        {3, "INDUCTION_LOOP_OUTPUT"},
        {4, "LINE_LEVEL_AUDIO_OUTPUT"},
        {5, "INTERCOM_HELP_POINT"},
        {6, "TELEPHONY_ENDPOINT"},
        {7, "RADIO_REBROADCAST"},
        {8, "UNKNOWN_TYPE"},
        {10, "UNKNOWN_TYPE"},
        {-1, "UNKNOWN_TYPE"}};
    int key = 0;
    for (const auto& [type, name] : names) {
        handle(++key, only(4, std::to_string(type)));
        EXPECT_EQ(controller.getPaSinks().back().typeAsString, name);
    }
}

TEST_F(SinksTest, TellsOfEachChange) {
    debugLevel = 1;
    EXPECT_EQ(handle(4, full),
              "*log 1 addUpdatePaSink: sinkId >17< added to list. Total sinks >1<\n"
              "*o: sink 17 North\n*event 8 17\n");
    EXPECT_EQ(handle(4, full), "*event 8 17\n");
    EXPECT_EQ(handle(4, with(with(full, 26, "X^Y^Z"), 28, "P")), "*event 8 17\n")
        << "only the length of a zone list is compared";
    EXPECT_EQ(handle(4, with(full, 4, "2")),
              "*log 1 addUpdatePaSink: sinkId >17< updated\n*o: sink 17 North\n*event 8 17\n");
    EXPECT_EQ(controller.getPaSinks().at(0).typeAsString, "HIGH_IMPEDANCE_SPEAKER_BUS");
    EXPECT_EQ(handle(4, fieldsOf("18|-|South")),
              "*log 1 addUpdatePaSink: sinkId >17< added to list. Total sinks >1<\n"
              "*o: sink 17 North\n*event 8 17\n")
        << "an entry with another id stays as it is";
    debugLevel = 0;
    for (const std::size_t column :
         std::vector<std::size_t>{1, 2, 3, 4, 6, 7, 9, 11, 12, 15, 17, 26, 31}) {
        const int key = static_cast<int>(column) + 10;
        handle(key, full);
        const RecordFields changed = with(full, column, "0");
        EXPECT_NE(handle(key, changed).find("*o: sink 17"), std::string::npos) << column;
        EXPECT_EQ(handle(key, changed), "*event 8 17\n") << column << " was not copied";
    }
    EXPECT_NE(handle(4, with(full, 28, "P^Q")), "*event 8 17\n");
    EXPECT_NE(handle(4, with(full, 27, "1")), "*event 8 17\n");
    EXPECT_TRUE(controller.getPaSinks().at(0).monitoringEnabled);
}

TEST_F(SinksTest, HandsOnEachNewMediaLogOnce) {
    handle(4, with(full, 31, "first"));
    EXPECT_EQ(handle(4, with(full, 31, "second")),
              "*campaign log second\n*o: sink 17 North\n*event 8 17\n");
    EXPECT_EQ(handle(4, with(with(full, 31, "second"), 2, "N")), "*o: sink 17 N\n*event 8 17\n");
    EXPECT_EQ(handle(4, with(full, 31, "")), "*o: sink 17 North\n*event 8 17\n");
    gAudioServerInstance = nullptr;
    EXPECT_EQ(handle(4, with(full, 31, "third")), "*o: sink 17 North\n*event 8 17\n");
}

TEST_F(SinksTest, ListsAllOrNone) {
    handle(9, {"90"});
    handle(4, full);
    for (const auto& [sourceId, count] :
         std::vector<std::pair<int, std::size_t>>{{-1, 2}, {1, 2}, {3, 2}, {0, 0}, {-2, 0}}) {
        EXPECT_EQ(controller.getPaSinks(sourceId).size(), count) << sourceId;
    }
    EXPECT_EQ(controller.getPaSinks()[0].id, 17);
}

TEST_F(SinksTest, RefusesWhatItsTypeOrALevelDoesNotAllow) {
    PaSink sink;
    sink.type = PaSink::LINE_LEVEL_AUDIO_OUTPUT;
    EXPECT_TRUE(sink.getPAMonitoring());
    EXPECT_EQ(sink.getGain().getLevel(), -96.0);
    for (const double level : {-96.5, 0.1}) {
        EXPECT_EQ(thrownBy<std::out_of_range>([&] { sink.setGain(level, true, true); }),
                  "PaSink::setGain(): Invalid Gain Level. Valid Range [-96, 0]");
    }
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { sink.reset(); }),
              "reset: Unsupported Sink Type >4<");
    sink.type = PaSink::ZENTRIQ_RMX4;
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { sink.setGain(5, true, true); }),
              "setGain: Unsupported Sink Type >10<");
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { sink.getGain(); }),
              "getGain: Unsupported Sink Type >10<");
    EXPECT_EQ(recordingHost::transcript(), "");
}

}  // namespace
