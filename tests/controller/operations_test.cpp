// What each operation sends, on a direct and on an indirect connection, and what it refuses.
#include <cmath>
#include <functional>

#include "tests/controller/fixtures.h"
#include "tests/controller/outcome.h"

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

struct OperationsTest : OwnController {
    const PaSource desk = source(4, PaSource::ZENTRIQ_ANALOG_INPUT);
};

TEST_F(OperationsTest, SendTheirPayloads) {
    const auto add = PaSource::ADD_TO_EXISTING_SET;
    const auto replace = PaSource::REPLACE_EXISTING_SET;
    const PaSource station = source(5, PaSource::ZENTRIQ_IP_PAGING_STATION);
    const int bare = controller.createSwPaTrigger(12, 60);
    const int chimed = controller.createSwPaTrigger(12, 60, "chime1", "");
    const int displayed = controller.createSwPaTrigger(13, 0, "", "a \"b\",c");
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
        {[&] { controller.activateSwPaTrigger(displayed); }, "*send -1 92/5 1 13,0,,a \"b\",c"},
        {[&] { controller.deactivateSwPaTrigger(displayed); }, "*send -1 92/6 1 13"},
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

TEST_F(OperationsTest, RefuseAsTheTable) {
    const auto mode = PaSource::REPLACE_EXISTING_SET;
    const PaSource computer = source(6, PaSource::PC_AUDIO_INPUT);
    PaSink line = sink(PaSink::LINE_LEVEL_AUDIO_OUTPUT);
    PaSink mixer = sink(PaSink::ZENTRIQ_RMX4);
    struct Case {
        std::string what;
        std::function<void()> call;
    };
    const std::string sourceRange =
        "out_of_range PaSource::setGain(): Invalid Gain Level. Valid Range [-96, +42]";
    const std::string sinkRange =
        "out_of_range PaSink::setGain(): Invalid Gain Level. Valid Range [-96, 0]";
    const Case cases[] = {
        {sourceRange, [&] { desk.setGain(-96.5, true, true); }},
        {sourceRange, [&] { desk.setGain(42.01, true, true); }},
        {"invalid_argument setGain: Unsupported Source Type >3<",
         [&] { computer.setGain(99, true, true); }},
        {"out_of_range getGain: Unsupported Sink Type >3<", [&] { return computer.getGain(); }},
        {"out_of_range Invalid zoneId", [&] { desk.attachPaZone("", mode); }},
        {"out_of_range Empty zoneIdList", [&] { desk.attachPaZone(Ids{}, mode); }},
        {"out_of_range Invalid zoneId", [&] { desk.detachPaZone(""); }},
        {"out_of_range Empty zoneIdList", [&] { desk.detachPaZone(Ids{}); }},
        {sinkRange, [&] { line.setGain(-96.5, true, true); }},
        {sinkRange, [&] { line.setGain(0.1, true, true); }},
        {"invalid_argument setGain: Unsupported Sink Type >10<",
         [&] { mixer.setGain(5, true, true); }},
        {"out_of_range getGain: Unsupported Sink Type >10<", [&] { return mixer.getGain(); }},
        {"out_of_range reset: Unsupported Sink Type >4<", [&] { line.reset(); }},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(outcome(c.call), c.what);
    }
    EXPECT_EQ(recordingHost::transcript(), "") << "nothing is detached first";
    EXPECT_EQ(desk.getGain(), -96.0);
    EXPECT_EQ(line.getGain().getLevel(), -96.0);
    EXPECT_EQ(desk.getAttachState(), PaSource::UNKNOWN);
    EXPECT_TRUE(line.getPAMonitoring());
}

}  // namespace
