// What playing and cancelling send. Payloads are written from the layout of the request.
#include <gtest/gtest.h>
#include <stdexcept>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

using Zones = std::vector<std::string>;
using Items = std::vector<unsigned>;

struct PlayTest : testing::Test {
    PlayTest() {
        recordingHost::watchTheController();
        recordingHost::reset();
        gPaController.initPaResources();
        RecordList port({"en", "anna", "48000"});
        gPaController.updateFromTTS_Ports(4, port.list());
    }
    ~PlayTest() override { gPaController.initPaResources(); }

    static Message dictionaryMessage() {
        Message message;
        message.setRequestID("request-1");
        message.setAudioMessage(Items{7});  // replaced by the next
        message.setAudioMessage(Items{12, 40});
        message.setRepeatCnt(2);
        return message;
    }
};

TEST_F(PlayTest, DictionaryItemsUnchanged) {
    recordingHost::setPlainEncoding(true);
    Message message = dictionaryMessage();
    EXPECT_EQ(gPaController.playMessage(Zones{"Z1", "Z2"}, message), "request-1");
    EXPECT_EQ(recordingHost::transcript(),
              "send -2 92/17 1 request-1,0,500,2,10.0.0.5,Z1^Z2,12^40!2,,0^0^0\n");
}

TEST_F(PlayTest, DictionaryItemsEncoded) {
    Message message = dictionaryMessage();
    message.setGain(-6.5);
    message.setPreChime(3);
    message.setPostChime(-4);
    message.setPriority(MessagePriority(APM_RELATIVE_PRIORITY, -20));
    message.playAnnouncement({"Z1", "Z\"2"});
    EXPECT_EQ(
        recordingHost::transcript(),
        R"(send -2 92/17 1 "request-1",1,-20,"2,10.0.0.5,\"Z1\"^\"Z\\\"2\",12^40!2,-6.5,3^-4^0")"
        "\n");
}

TEST_F(PlayTest, SpokenTexts) {
    Message plain;
    plain.setRequestID("request-1");
    plain.setAudioMessage("One", "en", "anna", Message::UTF_8);
    plain.setAudioMessage("Two", "en", "anna", Message::UTF_8);
    Message encoded = plain;
    encoded.setAudioMessageType(Message::TTS_SAF);
    recordingHost::setPlainEncoding(true);
    plain.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(),
              "send -2 92/17 1 request-1,0,500,4,10.0.0.5,Z,en^anna^48000^One!en^anna^48000^Two,,"
              "0^0^0\n");
    recordingHost::setPlainEncoding(false);
    encoded.playAnnouncement({"Z"});
    EXPECT_EQ(
        recordingHost::transcript(),
        R"(send -2 92/17 1 "request-1",0,500,"10,10.0.0.5,\"Z\",\"en^anna^48000^\\\"One\\\"\"!\"en^anna^48000^\\\"Two\\\"\",,0^0^0")"
        "\n");
}

TEST_F(PlayTest, RecordedStreams) {
    recordingHost::setPlainEncoding(true);
    gLocalDstNo = 7;
    Message onServer;
    onServer.setRequestID("request-1");
    onServer.setAudioMessageType(Message::RECORDED_STREAM_SAF);
    onServer.setAudioMessage(std::string("/s/a.wav"));
    onServer.playAnnouncement({});
    EXPECT_EQ(recordingHost::transcript(),
              "send -2 92/17 1 request-1,0,500,11,10.0.0.5,,7^/s/a.wav,,0^0^0\n");

    Message local;
    local.setRequestID("request-1");
    local.setAudioMessage("/d/a.wav", Message::L16_48K);
    recordingHost::setUploadResult(2);
    EXPECT_EQ(local.playAnnouncement({"Z"}), "request-1");
    EXPECT_EQ(recordingHost::transcript(),
              "upload /d/a.wav to /home/quillon/tmp/a.wav\no: message request-1 deleted\n");
    recordingHost::setUploadResult(1);
    gIndirectCXSConnection = true;
    local.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(),
              "upload /d/a.wav to /home/quillon/tmp/a.wav\n"
              "send -2 92/17 1 request-1,0,500,1,701,Z,7^/home/quillon/tmp/a.wav,,0^0^0\n");

    Message nowhere;
    nowhere.setAudioMessage("/d/a.wav", Message::L16_48K);
    gAudioServerInstance = nullptr;
    nowhere.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(), "o: message generated-1 deleted\n");
}

TEST_F(PlayTest, DisplayTemplates) {
    recordingHost::setPlainEncoding(true);
    Message one;
    one.setRequestID("request-1");
    one.setVisualMessage("Main", {}, 30);
    one.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(),
              "send -2 92/17 1 request-1,0,500,9,10.0.0.5,Z,"
              "{ \"kvPairs\" : { \"{SCREEN}\" : { \"type\" : \"literal\", \"values\" : [ { "
              "\"text\" : Main, \"timeout\" : 0} ] } }, \"validity\" : 30 },,0^0^0\n");

    Message several;
    several.setRequestID("request-1");
    several.setVisualMessage("", {{"replaced", {{"z", 1}}}}, 1);
    several.setVisualMessage(
        "Main", {{"B", {{"x", 5}, {"y", 6}}}, {"{SCREEN}", {{"Old", 9}}}, {"A", {}}}, -1);
    several.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(),
              "send -2 92/17 1 request-1,0,500,9,10.0.0.5,Z,"
              "{ \"kvPairs\" : { \"A\" : { \"type\" : \"literal\", \"values\" : [ ] },"
              " \"B\" : { \"type\" : \"literal\", \"values\" : [ { \"text\" : x, \"timeout\" : 5}, "
              "{ \"text\" : y, \"timeout\" : 6} ] },"
              " \"{SCREEN}\" : { \"type\" : \"literal\", \"values\" : [ { \"text\" : Main, "
              "\"timeout\" : 0} ] } }, \"validity\" : -1 },,0^0^0\n");

    recordingHost::setPlainEncoding(false);
    Message encoded;
    encoded.setRequestID("request-1");
    encoded.setVisualMessage("", {{"K", {{"a\"b", 1}}}}, 5);
    encoded.playAnnouncement({"Z"});
    EXPECT_EQ(
        recordingHost::transcript(),
        R"(send -2 92/17 1 "request-1",0,500,"9,10.0.0.5,\"Z\",\"{ \\\"kvPairs\\\" : { \\\"K\\\" : { \\\"type\\\" : \\\"literal\\\", \\\"values\\\" : [ { \\\"text\\\" : \\\"a\\\\\\\"b\\\", \\\"timeout\\\" : 1} ] } }, \\\"validity\\\" : 5 }\",,0^0^0")"
        "\n");
}

TEST_F(PlayTest, BothPartsFollowEachOther) {
    recordingHost::setPlainEncoding(true);
    Message message = dictionaryMessage();
    message.setVisualMessage(std::string("shown nowhere"));
    message.setGain(0);
    message.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(),
              "send -2 92/17 1 request-1,0,500,2,10.0.0.5,Z,12^40!2,0,0^0^0,"
              "9,10.0.0.5,Z,,0,0^0^0\n");

    Message bare;  // types alone, without the content that belongs to them
    bare.setRequestID("request-1");
    bare.setVisualMessage("Main", {}, 30);
    bare.setVisualMessageType(Message::DISPLAY);
    bare.setAudioMessageType(Message::LIVE_STREAM);
    bare.playAnnouncement({"Z"});
    EXPECT_EQ(recordingHost::transcript(),
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
    const auto refusal = [](Message& message) {
        try {
            message.playAnnouncement({"Z"});
            return std::string("played");
        } catch (const std::invalid_argument& e) {
            return std::string(e.what());
        }
    };
    Message empty;
    EXPECT_EQ(refusal(empty), "audio message type OR visual message type not set. nothing to do");
    Message message = dictionaryMessage();
    EXPECT_EQ(refusal(message), "played");
    EXPECT_EQ(refusal(message), "message has been played once. please create new Message object");
    EXPECT_EQ(recordingHost::transcript().find("send"), 0U);
    Message copy = message;
    EXPECT_EQ(refusal(copy), "message has been played once. please create new Message object");
}

TEST_F(PlayTest, TheReducedForm) {
    recordingHost::setPlainEncoding(true);
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

    recordingHost::setPlainEncoding(false);
    gPaController.playMessage({"Z"}, {"D\"1"}, Gain(-6.5), {7}, "Hi", params);
    EXPECT_EQ(
        recordingHost::transcript(),
        R"(send -2 92/17 1 "",0,500,"2,12,\"Z\",7!1,-6.5,,startCondition,stopCondition,0,0,0,0")"
        "\n"
        R"(send -2 92/17 1 "",0,500,"3,12,D\"1,\"Hi\",-6.5,,startCondition,stopCondition,0,0,0,0")"
        "\n");

    params.resumeOnInterruptFlag = true;
    try {
        gPaController.playMessage({"Z"}, {}, Gain(), {7}, nullptr, params);
        FAIL() << "the reserved flag was accepted";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(),
                     "resumeOnInterruptFlag is reserved for future use. Only false can be sent as "
                     "this argument");
    }
}

}  // namespace
