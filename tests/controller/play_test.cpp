// SPDX-License-Identifier: Apache-2.0
// What playing sends, from the layout of the request; the previews of spoken texts, which wait for
// items of the dictionary.
#include "tests/controller/fixtures.h"

namespace {

using Zones = std::vector<std::string>;
using Items = std::vector<unsigned>;

const std::string head = "send -2 92/17 1 \"request-1\",0,500";

struct PlayTest : VoicesTest {
    static Message dictionaryMessage() {
        Message message;
        message.setAudioMessage(Items{7});  // replaced by the next
        message.setAudioMessage(Items{12, 40});
        message.setRepeatCnt(2);
        return message;
    }

    /// What playing the message as request-1 does.
    static std::string played(Message& message, const Zones& zones = {"Z"}) {
        message.setRequestID("request-1");
        EXPECT_EQ(gPaController.playMessage(zones, message), "request-1");
        return transcript();
    }

    /// A part of a request, with a comma before it.
    static std::string part(const std::string& text) { return "," + quoted(text); }
};

TEST_F(PlayTest, DictionaryItems) {
    Message message = dictionaryMessage();
    message.setGain(-6.5);
    message.setPreChime(3);
    message.setPostChime(-4);
    message.setPriority(MessagePriority(APM_RELATIVE_PRIORITY, -20));
    EXPECT_EQ(played(message, {"Z1", "Z\"2"}),
              "send -2 92/17 1 \"request-1\",1,-20" +
                  part(R"(2,10.0.0.5,"Z1"^"Z\"2",12^40!2,-6.5,3^-4^0)") + "\n");
}

TEST_F(PlayTest, SpokenTexts) {
    Message message;
    message.setAudioMessage("One", "en", "anna", Message::UTF_8);
    message.setAudioMessage("Two", "en", "anna", Message::UTF_8);
    Message stored = message;
    stored.setAudioMessageType(Message::TTS_SAF);
    const std::string rest =
        R"(,10.0.0.5,"Z","en^anna^48000^\"One\""!"en^anna^48000^\"Two\"",,0^0^0)";
    EXPECT_EQ(played(message), head + part("4" + rest) + "\n");
    EXPECT_EQ(played(stored), head + part("10" + rest) + "\n");
}

TEST_F(PlayTest, RecordedStreams) {
    gLocalDstNo = 7;
    Message onServer;
    onServer.setAudioMessageType(Message::RECORDED_STREAM_SAF);
    onServer.setAudioMessage(std::string("/s/a.wav"));
    EXPECT_EQ(played(onServer, {}), head + part("11,10.0.0.5,,7^/s/a.wav,,0^0^0") + "\n");

    const std::string upload = "upload /d/a.wav to /home/quillon/tmp/a.wav\n";
    const std::string failed = "o: message request-1 deleted\n";
    Message local;
    local.setAudioMessage("/d/a.wav", Message::L16_48K);
    host().uploadResult = 2;
    EXPECT_EQ(played(local), upload + failed);
    host().uploadResult = 1;
    gIndirectCXSConnection = true;
    Message another = local;
    EXPECT_EQ(played(local),
              upload + head + part(R"(1,701,"Z",7^/home/quillon/tmp/a.wav,,0^0^0)") + "\n");
    gAudioServerInstance = nullptr;
    EXPECT_EQ(played(another), failed);
}

TEST_F(PlayTest, DisplayTemplates) {
    Message message;
    message.setVisualMessage("", {{"replaced", {{"z", 1}}}}, 1);
    message.setVisualMessage(
        "Main", {{"B", {{"x\"", 5}, {"y", 6}}}, {"{SCREEN}", {{"Old", 9}}}, {"A", {}}}, -1);
    const std::string content =
        R"({ "kvPairs" : { "A" : { "type" : "literal", "values" : [ ] },)"
        R"( "B" : { "type" : "literal", "values" : [ { "text" : "x\"", "timeout" : 5},)"
        R"( { "text" : "y", "timeout" : 6} ] },)"
        R"( "{SCREEN}" : { "type" : "literal", "values" : [ { "text" : "Main", "timeout" : 0} ] } },)"
        R"( "validity" : -1 })";
    EXPECT_EQ(played(message),
              head + part("9,10.0.0.5,\"Z\"," + quoted(content) + ",,0^0^0") + "\n");
}

TEST_F(PlayTest, BothPartsFollowEachOther) {
    Message message = dictionaryMessage();
    message.setVisualMessage(std::string("not displayed"));
    message.setGain(0);
    EXPECT_EQ(played(message), head + part(R"(2,10.0.0.5,"Z",12^40!2,0,0^0^0)") +
                                   part(R"(9,10.0.0.5,"Z",,0,0^0^0)") + "\n");

    Message bare;  // types only, without the content that belongs to them
    bare.setVisualMessage("Main", {}, 30);
    bare.setVisualMessageType(Message::DISPLAY);
    bare.setAudioMessageType(Message::LIVE_STREAM);
    EXPECT_EQ(played(bare),
              head + part(R"(0,10.0.0.5,"Z",,,0^0^0)") + part(R"(3,10.0.0.5,"Z",,,0^0^0)") + "\n");
}

TEST_F(PlayTest, KeepsARequestIdOfSixToSixtyThreeCharacters) {
    const std::pair<std::size_t, bool> cases[] = {{5, false}, {6, true}, {63, true}, {64, false}};
    for (const auto& [length, kept] : cases) {
        Message message = dictionaryMessage();
        message.setRequestID(std::string(length, 'x'));
        const std::string used = message.playAnnouncement({"Z"});
        EXPECT_EQ(used == message.getRequestID(), kept) << length;
        EXPECT_NE(transcript().find(" \"" + used + "\","), std::string::npos);
    }
}

TEST_F(PlayTest, PlaysAMessageOnce) {
    Message message;
    const auto played = [&message] {
        return outcome([&] { return message.playAnnouncement({"Z"}); });
    };
    EXPECT_EQ(played(),
              "invalid_argument audio message type OR visual message type not set. nothing to do");
    message = dictionaryMessage();
    EXPECT_EQ(played(), "accepted");
    transcript();
    message = Message(message);
    EXPECT_EQ(played(),
              "invalid_argument message has been played once. please create new Message object");
    EXPECT_EQ(transcript(), "");
}

TEST_F(PlayTest, TheReducedForm) {
    const auto request = [](const std::string& text) {
        return "send -2 92/17 1 \"\",0,500" +
               part(text + ",-6.5,,startCondition,stopCondition,0,0,0,0") + "\n";
    };
    EXPECT_EQ(controller.playMessage({"Z1", "Z2"}, {"D1", "D\"2"}, Gain(-6.5), {7, 4294967295U},
                                     "Hi", false, true, 9, 9, 1),
              0U);
    EXPECT_EQ(transcript(), request(R"(2,10.0.0.5,"Z1"^"Z2",7^4294967295!0)") +
                                request(R"(3,10.0.0.5,D1^D"2,"Hi")"));

    gIndirectCXSConnection = true;
    gLocalDstNo = 12;
    PlayMessageParams params;
    params.mode = 2;
    controller.playMessage({"Z"}, {"D"}, Gain(-6.5), {7}, nullptr, params);
    controller.playMessage({}, {}, Gain(-6.5), {7}, "Hi", params);
    controller.playMessage({"Z"}, {"D"}, Gain(-6.5), {}, "Hi", params);
    EXPECT_EQ(transcript(), request(R"(2,12,"Z",7!1)") + request(R"(3,12,D,"Hi")"));

    params.resumeOnInterruptFlag = true;
    EXPECT_EQ(outcome([&] { controller.playMessage({"Z"}, {}, Gain(), {7}, nullptr, params); }),
              "invalid_argument resumeOnInterruptFlag is reserved for future use. Only false can "
              "be sent as this argument");
}

struct PreviewsTest : VoicesTest {
    /// Reports the audio of a text.
    static std::string render(const std::string& text) {
        return giveItem(9, {"4", "u", quoted(text), {}, {}, {}, "a.wav"});
    }
};

TEST_F(PreviewsTest, AreOfTheFirstTextOfAMessage) {
    Message message;
    message.setRequestID("request-1");
    message.setAudioMessage("Say \"a\"", "en", "anna", Message::UTF_8);
    message.setAudioMessage("Not this one", "en", "anna", Message::UTF_8);
    host().now = 2000;
    EXPECT_EQ(message.retrieveAudioMessage(), "request-1");
    gIndirectCXSConnection = true;
    Message other;
    other.setAudioMessage("Say \"a\"", "en", "anna", Message::UTF_8);
    EXPECT_EQ(other.retrieveAudioMessage(), "generated-1");
    EXPECT_EQ(transcript(), R"(send -1 108/3 1 request-1,en,anna,48000,"Say \"a\"")"
                            "\n"
                            R"(send -1 108/3 1 generated-1,en,anna,48000,"Say \"a\"")"
                            "\n");
    EXPECT_EQ(render("Not this one"), "*o: audio u rendered 0 a.wav\n");
    EXPECT_EQ(render("Say \"a\""), "*o: audio request-1 rendered 0 a.wav\n");
    host().now = 2090;
    EXPECT_EQ(passes(), "*o: audio generated-1 failed 1 \nsleep 9000\n")
        << "an indirect connection knows no port";
    EXPECT_EQ(message.playAnnouncement({"Z"}), "request-1") << "a preview plays nothing";

    message.setAudioMessageType(Message::TTS_SAF);
    Message empty;
    empty.setAudioMessageType(Message::TTS);
    transcript();
    for (const Message& refused : {message, empty}) {
        EXPECT_EQ(outcome([&] { return refused.retrieveAudioMessage(); }),
                  "invalid_argument invalid audio message type");
    }
    EXPECT_EQ(transcript(), "");
}

}  // namespace
