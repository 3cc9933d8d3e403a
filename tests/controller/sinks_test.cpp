// Sinks: names of types, zones, media log. Their operations are with the others.
#include "tests/controller/fixtures.h"

namespace {

struct SinksTest : WatchedController {
    std::string handle(int key, const pa::RecordFields& fields) {
        return give<&PAController::addUpdatePaSink>(key, fields);
    }

    const std::string notified = "*o: sink 17 North\n*event 8 17\n";
    const std::string untold = "*event 8 17\n";
    const pa::RecordFields north = fieldsOf("17|-|North");
};

TEST_F(SinksTest, AreNamedByTheTypesUpToSeven) {
    const char* const names[] = {"SINK_TYPE_NOT_DEFINED",
                                 "HIGH_IMPEDANCE_SPEAKER_BUS",
                                 "LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT",
                                 "INDUCTION_LOOP_OUTPUT",
                                 "LINE_LEVEL_AUDIO_OUTPUT",
                                 "INTERCOM_HELP_POINT",
                                 "TELEPHONY_ENDPOINT",
                                 "RADIO_REBROADCAST"};
    for (const int type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, -1}) {
        handle(type + 2, only(4, std::to_string(type)));
        handle(type + 2, only(4, "0"));  // keeps the name
        const bool named = type >= 0 && type < static_cast<int>(std::size(names));
        EXPECT_EQ(controller.getPaSinks().at(0).typeAsString, named ? names[type] : "UNKNOWN_TYPE");
        controller.initPaResources();
    }
}

TEST_F(SinksTest, CompareTheLengthsOfTheirZoneListsAlone) {
    const pa::RecordFields listed = with(with(north, 26, "A^B^C"), 28, "M1^M2");
    handle(4, listed);
    EXPECT_EQ(handle(4, with(with(listed, 26, "X^Y^Z"), 28, "M3^M4")), untold);
    EXPECT_EQ(handle(4, with(listed, 26, "A^B")), notified);
    EXPECT_EQ(handle(4, with(with(listed, 26, "A^B"), 28, "M1")), notified);
    EXPECT_EQ(controller.getPaSinks().at(0).monitoringZoneList.size(), 1U);
    handle(4, with(north, 27, "2"));
    EXPECT_FALSE(controller.getPaSinks().at(0).monitoringEnabled) << "only a 1 switches it on";
}

TEST_F(SinksTest, HandOnEachNewMediaLogOnce) {
    handle(4, with(north, 31, "first"));
    EXPECT_EQ(handle(4, with(north, 31, "second")), "*campaign log second\n" + notified);
    EXPECT_EQ(handle(4, with(with(north, 31, "second"), 1, "Hall")), notified);
    EXPECT_EQ(handle(4, with(north, 31, "")), notified);
    gAudioServerInstance = nullptr;
    EXPECT_EQ(handle(4, with(north, 31, "third")), notified);
}

TEST_F(SinksTest, AreListedForAnySource) {
    handle(9, {"90"});
    handle(4, {"17"});
    for (const auto& [sourceId, count] :
         std::vector<std::pair<int, std::size_t>>{{-1, 2}, {1, 2}, {3, 2}, {0, 0}, {-2, 0}}) {
        EXPECT_EQ(controller.getPaSinks(sourceId).size(), count) << sourceId;
    }
}

}  // namespace
