#include <gtest/gtest.h>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

using Texts = std::vector<std::string>;

struct AnnouncementRequestsTest : testing::Test {
    AnnouncementRequestsTest() {
        recordingHost::reset();
        controller.registerObserver(&observer);
    }

    std::string handle(int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdateAnnouncementRequest(key, record.list());
        return recordingHost::transcript();
    }

    /// A record with the content alone.
    std::string handleContent(int key, const std::string& content) {
        return handle(key, with({"r"}, 9, content));
    }

    AnnouncementRequest only() {
        const auto requests = controller.getAnnouncementRequests();
        EXPECT_EQ(requests.size(), 1U);
        return requests.empty() ? AnnouncementRequest() : requests.front();
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(AnnouncementRequestsTest, DecodesEveryColumn) {
    EXPECT_EQ(handle(6, fieldsOf(R"("request-1"|s|s|s|s|"Playing"|"today"|s|s|)"
                                 R"("2,10.0.0.5,\"\\\"Hall, A\\\"^B\",12^40!1,,0^0^0"|s|s|s|s|s|s|)"
                                 R"("high"|s|"0"|"d\"one")")),
              "*o: message request-1 \"Playing\"\n");
    const AnnouncementRequest request = only();
    EXPECT_EQ(request.id, 6);
    EXPECT_EQ(request.stateText + request.startDateTime + request.priorityText +
                  request.completionCode + request.completionMsg,
              R"("Playing""today""high""0"d"one)");
    EXPECT_EQ(request.messageContent, R"(2,10.0.0.5,"\"Hall, A\"^B",12^40!1,,0^0^0)");
    EXPECT_EQ(request.getAudioMessageType(), Message::DICTIONARY);
    EXPECT_EQ(request.getVisualMessageType(), Message::NONE);
    EXPECT_EQ(request.zones, (Texts{"Hall, A", "B"}));
}

TEST_F(AnnouncementRequestsTest, TakesTheTypeAsTheTable) {
    struct Case {
        std::string content;
        bool kept;
        Message::Type audio;
        Message::Type visual;
    };
    const Message::Type none = Message::NONE;
    const std::vector<Case> cases = {
        {"0,x,Z", true, Message::LIVE_STREAM, none},
        {"1,x,Z", true, Message::RECORDED_STREAM, none},
        {"2,x,Z", true, Message::DICTIONARY, none},
        {"3,x,Z", true, none, none},
        {"4,x,Z", true, Message::TTS, none},
        {"5,x,Z", true, Message::BGM, none},
        {"6,x,Z", false, none, none},
        {"7,x,Z", false, none, none},
        {"8,x,Z", false, none, none},
        {"9,x,Z", true, none, Message::DISPLAY_TEMPLATE},
        {"10,x,Z", true, Message::TTS_SAF, none},
        {"11,x,Z", true, Message::RECORDED_STREAM_SAF, none},
        {"12,x,Z", true, none, none},
        {"-1,x,Z", true, none, none},
        {"words", true, Message::LIVE_STREAM, none},
        {"\"\"", false, none, none},  // nothing inside the quotes: no type at all
        {R"("9,x,Z,\"{\\\"Validity\\\":0}\"")", false, none, none},
        {R"("9,x,Z,\"{\\\"validity\\\":30}\"")", true, none, Message::DISPLAY_TEMPLATE},
        {R"("2,x,Z,\"{\\\"validity\\\":0}\"")", true, Message::DICTIONARY, none},
    };
    int key = 0;
    for (const Case& c : cases) {
        PAController fresh;
        RecordList record(with({"r"}, 9, c.content));
        fresh.addUpdateAnnouncementRequest(++key, record.list());
        const auto requests = fresh.getAnnouncementRequests();
        ASSERT_EQ(requests.size(), c.kept ? 1U : 0U) << c.content;
        if (c.kept) {
            EXPECT_EQ(requests[0].getAudioMessageType(), c.audio) << c.content;
            EXPECT_EQ(requests[0].getVisualMessageType(), c.visual) << c.content;
        }
    }
}

TEST_F(AnnouncementRequestsTest, AnUpdateStartsFromWhatIsKnown) {
    handle(6, fieldsOf("r|-|-|-|-|Queued|-|-|-|2,x,A^B,1!1"));
    EXPECT_EQ(handle(6, with(::only(5, "(null)"), 18, "0")), "*o: message r Queued\n");
    EXPECT_EQ(only().completionCode, "0");
    EXPECT_EQ(only().zones, (Texts{"A", "B"}));
    EXPECT_EQ(only().getAudioMessageType(), Message::DICTIONARY);

    handleContent(6, "9,x,C");
    EXPECT_EQ(only().zones, (Texts{"C"}));
    EXPECT_EQ(only().getAudioMessageType(), Message::NONE);

    EXPECT_EQ(handle(6, with(::only(5, "Lost"), 9, "7,x,D")), "");
    EXPECT_EQ(only().stateText, "Queued");
    EXPECT_EQ(only().zones, (Texts{"C"}));
}

TEST_F(AnnouncementRequestsTest, ListsInKeyOrder) {
    EXPECT_EQ(handle(6, {"six"}), "*o: message six \n");
    EXPECT_EQ(handle(2, {"two"}), "*o: message two \n");
    const auto requests = controller.getAnnouncementRequests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].getRequestID(), "two");
    EXPECT_EQ(requests[1].id, 6);
    EXPECT_EQ(requests[1].getAudioMessageType(), Message::NONE);
}

}  // namespace
