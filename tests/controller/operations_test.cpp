// SPDX-License-Identifier: Apache-2.0
// What each operation sends, on a direct and on an indirect connection, and what it refuses.
#include <cmath>
#include <functional>
#include <regex>

#include "tests/controller/fixtures.h"

namespace {

using Ids = std::vector<std::string>;

struct OperationsTest : ControllerTest {
    static PaSource source(PaSource::Type type) {
        PaSource made;
        made.id = 4;
        made.type = type;
        return made;
    }
    static PaSink sink(PaSink::Type type) {
        PaSink made;
        made.id = 17;
        made.type = type;
        return made;
    }

    const PaSource desk = source(PaSource::ZENTRIQ_ANALOG_INPUT);
    const PaSource station = source(PaSource::ZENTRIQ_IP_PAGING_STATION);
    const PaSource computer = source(PaSource::PC_AUDIO_INPUT);
    const PaSink bus = sink(PaSink::HIGH_IMPEDANCE_SPEAKER_BUS);
    const PaSink line = sink(PaSink::LINE_LEVEL_AUDIO_OUTPUT);
    const PaSink panel = sink(PaSink::ZENTRIQ_KPL2);
    const PaSink mixer = sink(PaSink::ZENTRIQ_RMX4);
};

TEST_F(OperationsTest, SendTheirPayloads) {
    const auto add = PaSource::ADD_TO_EXISTING_SET;
    const auto replace = PaSource::REPLACE_EXISTING_SET;
    const int bare = controller.createSwPaTrigger(12, 60);
    const int chimed = controller.createSwPaTrigger(12, 60, "chime1", "");
    const int displayed = controller.createSwPaTrigger(13, 0, "", "a \"b\",c");
    const std::string path = R"(/tmp/a"b\c.wav)";
    const Ids xz = {"X", "", "Z"};
    struct Case {
        std::string sent;  // D: by the kind of connection
        std::function<void()> call;
    };
    const Case cases[] = {
        {R"(send D 92/3 1 4,"Hall \"A\"")", [&] { desk.attachPaZone("Hall \"A\"", add); }},
        {"send D 92/4 1 4\nsend D 92/3 1 4,\"X\"", [&] { desk.attachPaZone("X", replace); }},
        {R"(send D 92/3 1 4,"X"^""^"Z")", [&] { desk.attachPaZone(xz, add); }},
        {"send D 92/4 1 4\nsend D 92/3 1 4,\"X\"", [&] { desk.attachPaZone(Ids{"X"}, replace); }},
        {R"(send D 92/4 1 4,"X")", [&] { desk.detachPaZone("X"); }},
        {R"(send D 92/4 1 4,"X"^""^"Z")", [&] { desk.detachPaZone(xz); }},
        {"send D 92/4 1 4", [&] { desk.detachAllPaZones(); }},
        {"send -1 92/9 1 4,-96,0,1", [&] { desk.setGain(-96, false, true); }},
        {"send -1 92/9 1 4,42,1,0", [&] { station.setGain(42, true, false); }},
        {"send -1 92/9 1 4,nan,0,0", [&] { station.setGain(std::nan(""), false, false); }},
        {"send -1 92/8 1 17,-96,0,1", [&] { bus.setGain(-96, false, true); }},
        {"send -1 92/8 1 17,0,1,0", [&] { line.setGain(0.0, true, false); }},
        {"send -1 92/8 1 17,nan,0,0", [&] { line.setGain(std::nan(""), false, false); }},
        {"send -1 92/10 1 1,17", [&] { mixer.setPAMonitoring(true); }},
        {"send -1 92/10 1 0,17", [&] { mixer.setPAMonitoring(false); }},
        {"send -1 92/29 1 17", [&] { panel.reset(); }},
        {"send -1 92/29 1 17", [&] { mixer.reset(); }},
        {"*send -1 92/5 1 12,60", [&] { controller.activateSwPaTrigger(bare); }},
        {"*send -1 92/5 1 12,60,chime1,", [&] { controller.activateSwPaTrigger(chimed); }},
        {"*send -1 92/5 1 13,0,,a \"b\",c", [&] { controller.activateSwPaTrigger(displayed); }},
        {"*send -1 92/6 1 13", [&] { controller.deactivateSwPaTrigger(displayed); }},
        {R"(send -2 92/18 1 "re\"quest")",
         [&] { controller.cancelMessage(std::string("re\"quest")); }},
        {R"(send -2 92/18 1 "",4)", [&] { controller.cancelMessage(Message::TTS); }},
        {R"(send -2 92/18 1 "",2)", [&] { controller.cancelMessage(0U); }},
        {"error 3 cancelMessage: messageId > 0 is not supported",
         [&] { controller.cancelMessage(7U); }},
        {"send -2 78/5 1 " + path, [&] { controller.startUserRecording(path); }},
        {"send -2 78/6 1 ", [&] { controller.stopUserRecording(); }},
        {R"(send -2 1/1 1 "/tmp/a\"b\\c.wav")", [&] { controller.previewUserRecording(path); }},
        {R"(send -2 78/9 1 "/tmp/a\"b\\c.wav")", [&] { controller.deleteUserRecording(path); }},
    };
    for (const bool indirect : {false, true}) {
        gIndirectCXSConnection = indirect;
        for (const Case& c : cases) {
            c.call();
            EXPECT_EQ(transcript(),
                      std::regex_replace(c.sent + "\n", std::regex("D"), indirect ? "-2" : "-1"));
        }
    }
}

TEST_F(OperationsTest, RefuseAsTheTable) {
    const auto mode = PaSource::REPLACE_EXISTING_SET;
    const std::string sourceRange =
        "out_of_range PaSource::setGain(): Invalid Gain Level. Valid Range [-96, +42]";
    const std::string sinkRange =
        "out_of_range PaSink::setGain(): Invalid Gain Level. Valid Range [-96, 0]";
    const std::pair<std::string, std::function<void()>> cases[] = {
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
        {"accepted", [&] { EXPECT_EQ(desk.getGain(), -96.0); }},
        {"accepted", [&] { EXPECT_EQ(line.getGain().getLevel(), -96.0); }},
    };
    for (const auto& [what, call] : cases) {
        EXPECT_EQ(outcome(call), what);
    }
    EXPECT_EQ(transcript(), "") << "nothing is detached first";
}

}  // namespace
