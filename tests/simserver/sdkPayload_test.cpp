// What the controller sends and reads, and what the server reads and sends, is written by different
// hands: here one meets the other.
#include <future>
#include <gtest/gtest.h>

#include "include/common/RecordList.h"
#include "sdk/Message.h"
#include "sdk/PAController.h"
#include "sdk/QXReceiver.h"
#include "sdk/globals.h"
#include "simserver/Records.h"
#include "simserver/RequestDecoder.h"

namespace {

using namespace simserver;

struct Receiver : OperationSender {
    bool sendOperation(const Operation& operation) override {
        payload.set_value(operation.payload);
        return true;
    }
    std::promise<std::string> payload;
};

/// As a JSON string has it, without its quotes.
std::string asJson(const std::string& text) {
    std::string json;
    for (const char c : text) {
        const std::size_t special = std::string("\"\\\n\r\t").find(c);
        json +=
            special == std::string::npos ? std::string{c} : std::string{'\\', "\"\\nrt"[special]};
    }
    return json;
}

using SdkPayload = testing::TestWithParam<std::string>;

TEST_P(SdkPayload, ArrivesByteForByte) {
    const std::string text = GetParam();
    RecordList voice(voiceRecord({1, "en", "Ann", 48000, ""}));
    gPaController.updateFromTTS_Ports(1, voice.list());
    Message message;
    message.setAudioMessage(text, "en", "Ann", Message::UTF_8);
    message.setVisualMessage("", {{"K", {{text, 7}}}}, 30);
    Receiver receiver;
    gQXReceiver.connect(receiver);
    message.playAnnouncement({"Zone " + text, text});
    PlayRequest request;
    decodePlay(receiver.payload.get_future().get(), request);
    gQXReceiver.disconnect();

    ASSERT_EQ(request.parts.size(), 2U);
    EXPECT_EQ(request.parts[0].zones, (std::vector<std::string>{"Zone " + text, text}));
    EXPECT_EQ(request.parts[1].zones, request.parts[0].zones);
    EXPECT_EQ(std::get<SpokenContent>(request.parts[0].content).texts.at(0).text, text);
    EXPECT_EQ(std::get<TemplateContent>(request.parts[1].content).json,
              R"({"kvPairs":{"K":{"type":"literal","values":[{"text":")" + asJson(text) +
                  R"(","timeout":7}]}},"validity":30})");
}

TEST_P(SdkPayload, IsReportedByteForByte) {
    const std::string text = GetParam();
    PlayPart part;
    part.requestId = text;
    part.request.type = findType(4);
    part.request.zones = {text, "Z"};
    part.request.content = SpokenContent{{{"en", "Ann", 48000, text}}};
    part.state = PartState::Failed;
    part.outcome = text;
    RecordList record(announcementRecord(part, 0));
    gPaController.addUpdateAnnouncementRequest(1, record.list());
    const auto requests = gPaController.getAnnouncementRequests();
    gPaController.initPaResources();

    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].getRequestID(), text);
    EXPECT_EQ(requests[0].zones, (std::vector<std::string>{text, "Z"}));
    EXPECT_EQ(requests[0].completionMsg, text);
}

INSTANTIATE_TEST_SUITE_P(Hostile, SdkPayload,
                         testing::Values(R"(a,b^c!d~e=f)", R"("quoted", \back\ and \")", "\\", "\"",
                                         "line\nend\r\n\ttab", "Gleis 9\xC2\xBD, \xE2\x82\xAC",
                                         R"(", "timeout" : 9}, { "text" : "x)",
                                         std::string(20'000, '\\')));

}  // namespace
