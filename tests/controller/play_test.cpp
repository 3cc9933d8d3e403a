// What playing and cancelling send. Payloads are written from the layout of the request.
#include "tests/controller/fixtures.h"
#include "tests/controller/outcome.h"

namespace {

using Zones = std::vector<std::string>;
using Items = std::vector<unsigned>;

struct PlayTest : ProcessController {
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
        return recordingHost::transcript();
    }
    /// The same with the texts unchanged.
    static std::string plainlyPlayed(Message& message, const Zones& zones = {"Z"}) {
        recordingHost::host().plainEncoding = true;
        const std::string transcript = played(message, zones);
        recordingHost::host().plainEncoding = false;
        return transcript;
    }
};

TEST_F(PlayTest, DictionaryItems) {
    Message plain = dictionaryMessage();
    EXPECT_EQ(plainlyPlayed(plain, {"Z1", "Z2"}),
              "send -2 92/17 1 request-1,0,500,2,10.0.0.5,Z1^Z2,12^40!2,,0^0^0\n");

    Message message = dictionaryMessage();
    message.setGain(-6.5);
    message.setPreChime(3);
    message.setPostChime(-4);
    message.setPriority(MessagePriority(APM_RELATIVE_PRIORITY, -20));
    EXPECT_EQ(
        played(message, {"Z1", "Z\"2"}),
        R"(send -2 92/17 1 "request-1",1,-20,"2,10.0.0.5,\"Z1\"^\"Z\\\"2\",12^40!2,-6.5,3^-4^0")"
        "\n");
}

TEST_F(PlayTest, SpokenTexts) {
    Message plain;
    plain.setAudioMessage("One", "en", "anna", Message::UTF_8);
    plain.setAudioMessage("Two", "en", "anna", Message::UTF_8);
    Message encoded = plain;
    encoded.setAudioMessageType(Message::TTS_SAF);
    EXPECT_EQ(plainlyPlayed(plain),
              "send -2 92/17 1 request-1,0,500,4,10.0.0.5,Z,en^anna^48000^One!en^anna^48000^Two,,"
              "0^0^0\n");
    EXPECT_EQ(
        played(encoded),
        R"(send -2 92/17 1 "request-1",0,500,"10,10.0.0.5,\"Z\",\"en^anna^48000^\\\"One\\\"\"!\"en^anna^48000^\\\"Two\\\"\",,0^0^0")"
        "\n");
}

TEST_F(PlayTest, RecordedStreams) {
    gLocalDstNo = 7;
    Message onServer;
    onServer.setAudioMessageType(Message::RECORDED_STREAM_SAF);
    onServer.setAudioMessage(std::string("/s/a.wav"));
    EXPECT_EQ(plainlyPlayed(onServer, {}),
              "send -2 92/17 1 request-1,0,500,11,10.0.0.5,,7^/s/a.wav,,0^0^0\n");

    const std::string upload = "upload /d/a.wav to /home/quillon/tmp/a.wav\n";
    const std::string failed = "o: message request-1 deleted\n";
    Message local;
    local.setAudioMessage("/d/a.wav", Message::L16_48K);
    gAudioServerInstance = nullptr;
    EXPECT_EQ(played(local), failed);
    gAudioServerInstance = &recordingHost::audioServer();
    recordingHost::host().uploadResult = 2;
    EXPECT_EQ(played(local), upload + failed);
    recordingHost::host().uploadResult = 1;
    gIndirectCXSConnection = true;
    EXPECT_EQ(
        plainlyPlayed(local),
        upload + "send -2 92/17 1 request-1,0,500,1,701,Z,7^/home/quillon/tmp/a.wav,,0^0^0\n");
}

TEST_F(PlayTest, DisplayTemplates) {
    Message one;
    one.setVisualMessage("Main", {}, 30);
    EXPECT_EQ(plainlyPlayed(one),
              "send -2 92/17 1 request-1,0,500,9,10.0.0.5,Z,"
              "{ \"kvPairs\" : { \"{SCREEN}\" : { \"type\" : \"literal\", \"values\" : [ { "
              "\"text\" : Main, \"timeout\" : 0} ] } }, \"validity\" : 30 },,0^0^0\n");

    Message several;
    several.setVisualMessage("", {{"replaced", {{"z", 1}}}}, 1);
    several.setVisualMessage(
        "Main", {{"B", {{"x", 5}, {"y", 6}}}, {"{SCREEN}", {{"Old", 9}}}, {"A", {}}}, -1);
    EXPECT_EQ(plainlyPlayed(several),
              "send -2 92/17 1 request-1,0,500,9,10.0.0.5,Z,"
              "{ \"kvPairs\" : { \"A\" : { \"type\" : \"literal\", \"values\" : [ ] },"
              " \"B\" : { \"type\" : \"literal\", \"values\" : [ { \"text\" : x, \"timeout\" : 5}, "
              "{ \"text\" : y, \"timeout\" : 6} ] },"
              " \"{SCREEN}\" : { \"type\" : \"literal\", \"values\" : [ { \"text\" : Main, "
              "\"timeout\" : 0} ] } }, \"validity\" : -1 },,0^0^0\n");

    Message encoded;
    encoded.setVisualMessage("", {{"K", {{"a\"b", 1}}}}, 5);
    EXPECT_EQ(
        played(encoded),
        R"(send -2 92/17 1 "request-1",0,500,"9,10.0.0.5,\"Z\",\"{ \\\"kvPairs\\\" : { \\\"K\\\" : { \\\"type\\\" : \\\"literal\\\", \\\"values\\\" : [ { \\\"text\\\" : \\\"a\\\\\\\"b\\\", \\\"timeout\\\" : 1} ] } }, \\\"validity\\\" : 5 }\",,0^0^0")"
        "\n");
}

TEST_F(PlayTest, BothPartsFollowEachOther) {
    Message message = dictionaryMessage();
    message.setVisualMessage(std::string("shown nowhere"));
    message.setGain(0);
    EXPECT_EQ(plainlyPlayed(message),
              "send -2 92/17 1 request-1,0,500,2,10.0.0.5,Z,12^40!2,0,0^0^0,"
              "9,10.0.0.5,Z,,0,0^0^0\n");

    Message bare;  // types only, without the content that belongs to them
    bare.setVisualMessage("Main", {}, 30);
    bare.setVisualMessageType(Message::DISPLAY);
    bare.setAudioMessageType(Message::LIVE_STREAM);
    EXPECT_EQ(plainlyPlayed(bare),
              "send -2 92/17 1 request-1,0,500,0,10.0.0.5,Z,,,0^0^0,3,10.0.0.5,Z,,,0^0^0\n");
}

TEST_F(PlayTest, KeepsARequestIdOfSixToSixtyThreeCharacters) {
    const std::vector<std::pair<std::size_t, bool>> cases = {
        {0, false}, {5, false}, {6, true}, {63, true}, {64, false}};
    for (const auto& [length, kept] : cases) {
        Message message = dictionaryMessage();
        message.setRequestID(std::string(length, 'x'));
        const std::string used = message.playAnnouncement({"Z"});
        EXPECT_EQ(used == message.getRequestID(), kept) << length;
        EXPECT_EQ(message.getRequestID().size(), length);
        EXPECT_NE(recordingHost::transcript().find(" \"" + used + "\","), std::string::npos);
    }
}

TEST_F(PlayTest, PlaysAMessageOnce) {
    const auto played = [](Message& message) {
        return outcome([&] { message.playAnnouncement({"Z"}); });
    };
    const std::string again =
        "invalid_argument message has been played once. please create new Message object";
    Message empty;
    EXPECT_EQ(played(empty),
              "invalid_argument audio message type OR visual message type not set. nothing to do");
    Message message = dictionaryMessage();
    EXPECT_EQ(played(message), "accepted");
    EXPECT_EQ(played(message), again);
    Message copy = message;
    EXPECT_EQ(played(copy), again);
    EXPECT_EQ(recordingHost::transcript().rfind("send"), 0U) << "sent once";
}

TEST_F(PlayTest, TheReducedForm) {
    recordingHost::host().plainEncoding = true;
    const std::string tail = ",-6.5,,startCondition,stopCondition,0,0,0,0\n";
    EXPECT_EQ(gPaController.playMessage({"Z1", "Z2"}, {"D1", "D2"}, Gain(-6.5), {7, 4294967295U},
                                        "Hi", false, true, 9, 9, 1),
              0U);
    EXPECT_EQ(recordingHost::transcript(),
              "send -2 92/17 1 \"\",0,500,2,10.0.0.5,Z1^Z2,7^4294967295!0" + tail +
                  "send -2 92/17 1 \"\",0,500,3,10.0.0.5,D1^D2,Hi" + tail);

    gIndirectCXSConnection = true;
    gLocalDstNo = 12;
    PlayMessageParams params;
    params.mode = 2;
    gPaController.playMessage({"Z"}, {"D"}, Gain(-6.5), {7}, nullptr, params);
    gPaController.playMessage({}, {}, Gain(-6.5), {7}, "Hi", params);
    gPaController.playMessage({"Z"}, {"D"}, Gain(-6.5), {}, "Hi", params);
    EXPECT_EQ(recordingHost::transcript(), "send -2 92/17 1 \"\",0,500,2,12,Z,7!1" + tail +
                                               "send -2 92/17 1 \"\",0,500,3,12,D,Hi" + tail);

    recordingHost::host().plainEncoding = false;
    gPaController.playMessage({"Z"}, {"D\"1"}, Gain(-6.5), {7}, "Hi", params);
    EXPECT_EQ(
        recordingHost::transcript(),
        R"(send -2 92/17 1 "",0,500,"2,12,\"Z\",7!1,-6.5,,startCondition,stopCondition,0,0,0,0")"
        "\n"
        R"(send -2 92/17 1 "",0,500,"3,12,D\"1,\"Hi\",-6.5,,startCondition,stopCondition,0,0,0,0")"
        "\n");

    params.resumeOnInterruptFlag = true;
    EXPECT_EQ(outcome([&] { gPaController.playMessage({"Z"}, {}, Gain(), {7}, nullptr, params); }),
              "invalid_argument resumeOnInterruptFlag is reserved for future use. Only false can "
              "be sent as this argument");
}

}  // namespace
