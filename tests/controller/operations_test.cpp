// What each operation sends, on a direct and on an indirect connection; what a source's operations
// refuse; how its lock is taken and released.
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"
#include "tests/support/thrownBy.h"

namespace {

using Ids = std::vector<std::string>;

PaSource source(int id, PaSource::Type type) {
    PaSource made;
    made.id = id;
    made.type = type;
    return made;
}

PaSink sink(PaSink::Type type) {
    PaSink made;
    made.id = 17;
    made.type = type;
    return made;
}

struct OperationsTest : testing::Test {
    OperationsTest() { recordingHost::reset(); }

    /// A source record with a holder of its lock.
    void tell(int sourceId, const std::string& holder) {
        RecordList record(with({std::to_string(sourceId)}, 9, holder));
        controller.addUpdatePaSource(sourceId, record.list());
    }

    /// Has the server answer during the poll with this number, counted from 1.
    void answer(int poll, int sourceId, const std::string& holder) {
        recordingHost::setSleepAction([this, poll, sourceId, holder, polls = 0](int ms) mutable {
            if (ms == 50 && ++polls == poll) {
                tell(sourceId, holder);
            }
        });
    }

    PAController controller;
    const PaSource desk = source(4, PaSource::ZENTRIQ_ANALOG_INPUT);
};

TEST_F(OperationsTest, SendTheirPayloads) {
    const auto add = PaSource::ADD_TO_EXISTING_SET;
    const auto replace = PaSource::REPLACE_EXISTING_SET;
    const PaSource station = source(5, PaSource::ZENTRIQ_IP_PAGING_STATION);
    const int bare = controller.createSwPaTrigger(12, 60);
    const int chimed = controller.createSwPaTrigger(12, 60, "chime1", "");
    const int shown = controller.createSwPaTrigger(13, 0, "", "a \"b\",c");
    struct Case {
        std::function<void()> call;
        std::string sent;  // D: by the kind of connection
    };
    const Case cases[] = {
        {[&] { desk.attachPaZone("Hall \"A\"", add); }, R"(send D 92/3 1 4,"Hall \"A\"")"},
        {[&] { desk.attachPaZone("X", replace); }, "send D 92/4 1 4\nsend D 92/3 1 4,\"X\""},
        {[&] {
             desk.attachPaZone(Ids{"X", "", "Z"}, add);
         },
         R"(send D 92/3 1 4,"X"^""^"Z")"},
        {[&] { desk.attachPaZone(Ids{"X"}, replace); }, "send D 92/4 1 4\nsend D 92/3 1 4,\"X\""},
        {[&] { desk.detachPaZone("X"); }, R"(send D 92/4 1 4,"X")"},
        {[&] {
             desk.detachPaZone(Ids{"X", "Y"});
         },
         R"(send D 92/4 1 4,"X"^"Y")"},
        {[&] { desk.detachAllPaZones(); }, "send D 92/4 1 4"},
        {[&] { desk.setGain(-12.5, true, false); }, "send -1 92/9 1 4,-12.5,1,0"},
        {[&] { desk.setGain(-96, false, true); }, "send -1 92/9 1 4,-96,0,1"},
        {[&] { station.setGain(42, false, false); }, "send -1 92/9 1 5,42,0,0"},
        {[&] { station.setGain(std::nan(""), true, true); }, "send -1 92/9 1 5,nan,1,1"},
        {[&] { sink(PaSink::LINE_LEVEL_AUDIO_OUTPUT).setGain(-12.5, true, false); },
         "send -1 92/8 1 17,-12.5,1,0"},
        {[&] { sink(PaSink::HIGH_IMPEDANCE_SPEAKER_BUS).setGain(-96, false, true); },
         "send -1 92/8 1 17,-96,0,1"},
        {[&] { sink(PaSink::INDUCTION_LOOP_OUTPUT).setGain(0.0, false, false); },
         "send -1 92/8 1 17,0,0,0"},
        {[&] { sink(PaSink::INDUCTION_LOOP_OUTPUT).setGain(std::nan(""), false, false); },
         "send -1 92/8 1 17,nan,0,0"},
        {[&] { sink(PaSink::RADIO_REBROADCAST).setPAMonitoring(true); }, "send -1 92/10 1 1,17"},
        {[&] { sink(PaSink::RADIO_REBROADCAST).setPAMonitoring(false); }, "send -1 92/10 1 0,17"},
        {[&] { sink(PaSink::ZENTRIQ_KPL2).reset(); }, "send -1 92/29 1 17"},
        {[&] { sink(PaSink::ZENTRIQ_RMX4).reset(); }, "send -1 92/29 1 17"},
        {[&] { controller.activateSwPaTrigger(bare); }, "*send -1 92/5 1 12,60"},
        {[&] { controller.activateSwPaTrigger(chimed); }, "*send -1 92/5 1 12,60,chime1,"},
        {[&] { controller.activateSwPaTrigger(shown); }, "*send -1 92/5 1 13,0,,a \"b\",c"},
        {[&] { controller.deactivateSwPaTrigger(shown); }, "*send -1 92/6 1 13"},
        {[&] { controller.cancelMessage(std::string("re\"quest")); },
         R"(send -2 92/18 1 "re\"quest")"},
        {[&] { controller.cancelMessage(std::string()); }, R"(send -2 92/18 1 "")"},
        {[&] { controller.cancelMessage(Message::TTS); }, R"(send -2 92/18 1 "",4)"},
        {[&] { controller.cancelMessage(0U); }, R"(send -2 92/18 1 "",2)"},
        {[&] { controller.cancelMessage(7U); },
         "error 3 cancelMessage: messageId > 0 is not supported"},
        {[&] { controller.startUserRecording(R"(/tmp/a"b\c.wav)"); },
         R"(send -2 78/5 1 /tmp/a"b\c.wav)"},
        {[&] { controller.stopUserRecording(); }, "send -2 78/6 1 "},
        {[&] { controller.previewUserRecording(R"(/tmp/a"b\c.wav)"); },
         R"(send -2 1/1 1 "/tmp/a\"b\\c.wav")"},
        {[&] { controller.deleteUserRecording(R"(/tmp/a"b\c.wav)"); },
         R"(send -2 78/9 1 "/tmp/a\"b\\c.wav")"},
    };
    for (const bool indirect : {false, true}) {
        gIndirectCXSConnection = indirect;
        for (const Case& c : cases) {
            std::string expected = c.sent + "\n";
            for (auto at = expected.find(" D "); at != std::string::npos;
                 at = expected.find(" D ")) {
                expected.replace(at, 3, indirect ? " -2 " : " -1 ");
            }
            c.call();
            EXPECT_EQ(recordingHost::transcript(), expected);
        }
    }
}

TEST_F(OperationsTest, OfASourceRefuseAsTheTable) {
    const std::string range = "PaSource::setGain(): Invalid Gain Level. Valid Range [-96, +42]";
    const auto mode = PaSource::REPLACE_EXISTING_SET;
    const PaSource computer = source(6, PaSource::PC_AUDIO_INPUT);
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { desk.setGain(-96.5, true, true); }), range);
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { desk.setGain(42.01, true, true); }), range);
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { computer.setGain(99, true, true); }),
              "setGain: Unsupported Source Type >3<");
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { computer.getGain(); }),
              "getGain: Unsupported Sink Type >3<");
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { desk.attachPaZone("", mode); }), "Invalid zoneId");
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { desk.attachPaZone(Ids{}, mode); }),
              "Empty zoneIdList");
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { desk.detachPaZone(""); }), "Invalid zoneId");
    EXPECT_EQ(thrownBy<std::out_of_range>([&] { desk.detachPaZone(Ids{}); }), "Empty zoneIdList");
    EXPECT_EQ(recordingHost::transcript(), "") << "nothing is detached first";
    EXPECT_EQ(desk.getGain(), -96.0);
    EXPECT_EQ(desk.getAttachState(), PaSource::UNKNOWN);
}

TEST_F(OperationsTest, OfASourceAskTheProcessesController) {
    RecordList zones({"\"B^A\""});
    gPaController.addUpdateAttachedPaZone(4, zones.list());
    EXPECT_EQ(desk.getAttachedPaZones(), (Ids{"A", "B"}));
    gAudioServerInstance = nullptr;
    EXPECT_EQ(desk.getAttachedPaZones(), Ids{});
    gPaController.initPaResources();
}

TEST_F(OperationsTest, TakeALockOnceTheServerConfirmsIt) {
    tell(4, "");
    recordingHost::transcript();
    answer(2, 4, "uuid-self");
    EXPECT_TRUE(controller.attachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(),
              "*send -1 92/1 1 4,uuid-self\nsleep 50\nsleep 50\nsleep 100\n*event 6 4\n");
    EXPECT_TRUE(controller.attachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(), "") << "it is held already";

    gIndirectCXSConnection = true;
    answer(1, 4, "somebody-else");
    EXPECT_TRUE(controller.detachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(),
              "*send -2 92/2 1 4,uuid-self\nsleep 50\nsleep 100\n*event 6 4\n");
    EXPECT_FALSE(controller.attachPaSource(4)) << "somebody else holds it";
    EXPECT_FALSE(controller.detachPaSource(4));
    for (const int unknown : {5, 0, -4}) {
        EXPECT_FALSE(controller.attachPaSource(unknown));
        EXPECT_FALSE(controller.detachPaSource(unknown));
    }
    gAudioServerInstance = nullptr;
    EXPECT_FALSE(controller.attachPaSource(4));
    EXPECT_FALSE(controller.detachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(), "");
}

TEST_F(OperationsTest, GiveUpOnALockAfterTheLongestWait) {
    gMaxServerWaitTimeSeconds = 3;
    tell(4, "");
    tell(5, "uuid-self");
    recordingHost::transcript();
    recordingHost::setSleepAction(
        [now = 1000](int) mutable { recordingHost::setWallClock(++now); });
    EXPECT_FALSE(controller.attachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(),
              "*send -1 92/1 1 4,uuid-self\nsleep 50\nsleep 50\nsleep 50\n");
    recordingHost::setWallClock(1000);
    recordingHost::setSleepAction(
        [now = 1000](int) mutable { recordingHost::setWallClock(++now); });
    EXPECT_FALSE(controller.detachPaSource(5));
    EXPECT_EQ(recordingHost::transcript(),
              "*send -1 92/2 1 5,uuid-self\nsleep 50\nsleep 50\nsleep 50\n");

    // A reconnection empties the list of locks: that confirms nothing.
    recordingHost::setWallClock(1000);
    recordingHost::setSleepAction([this, now = 1000](int) mutable {
        controller.initPaResources();
        recordingHost::setWallClock(++now);
    });
    EXPECT_FALSE(controller.detachPaSource(5));
    gMaxServerWaitTimeSeconds = 10;
}

TEST_F(OperationsTest, MeterTheElementOfAKnownSource) {
    for (const int id : {250, 99}) {
        RecordList record({std::to_string(id)});
        controller.addUpdatePaSource(id + 1000, record.list());
    }
    recordingHost::transcript();
    controller.enablePaSourceVUMeter(250);
    controller.disablePaSourceVUMeter(99);
    controller.enablePaSourceVUMeter(1250);
    EXPECT_EQ(recordingHost::transcript(), "*meter on 2\n*meter off 0\n");
}

}  // namespace
