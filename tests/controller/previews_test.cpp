// The previews that wait for items of the text-to-speech dictionary.
#include "tests/controller/fixtures.h"
#include "tests/controller/outcome.h"

namespace {

const pa::RecordFields full =
    fieldsOf(R"(4|"u\"1"|"Mind, the gap"|"a\\b.wav"|"96044"|"c0ffee"|"file:///a.wav")");

struct PreviewsTest : ProcessController {
    static std::string handle(int key, const pa::RecordFields& fields) {
        pa::RecordList record(fields);
        gPaController.updateFromTTS_Dictionary(key, record.list());
        return recordingHost::transcript();
    }

    static void pend(const std::string& key, int port, const std::string& text,
                     std::time_t since = 1000) {
        TTSPendingInfo info(port, "en", "anna", 48000, text, since);
        gPaController.addToTTSPreviewPendingList(key, info);
    }

    static Message spoken(const std::string& id) {
        Message message;
        message.setRequestID(id);
        message.setAudioMessage("Say \"a\"", "en", "anna", Message::UTF_8);
        message.setAudioMessage("Never said", "en", "anna", Message::UTF_8);
        return message;
    }
};

TEST_F(PreviewsTest, AnItemCompletesEveryPreviewOfItsTextAndPort) {
    pend("b", 5, "Said otherwise");
    pend("b", 4, "Mind, the gap");  // in its place
    pend("a", 4, "Mind, the gap");
    pend("c", 4, "mind, the gap");
    pend("d", 4, "Mind, the gap ");
    pend("e", 5, "Mind, the gap");
    gPaController.deleteFromTTS_Dictionary(0);
    EXPECT_EQ(handle(9, full), "*o: audio b rendered 0 file:///a.wav\n")
        << "one call, the last key";
    EXPECT_EQ(handle(9, full), "*o: audio u\"1 rendered 0 file:///a.wav\n");
    EXPECT_EQ(handle(8, with(full, 0, "-1")), "*o: audio u\"1 failed 2 file:///a.wav\n");
    recordingHost::host().now = 1090;
    EXPECT_EQ(passOf(gPaController),
              "*o: audio c failed 1 \n*o: audio d failed 1 \n*o: audio e failed 1 \nsleep 9000\n");
}

TEST_F(PreviewsTest, PreviewsAreGivenUpAfterNinetySeconds) {
    pend("", 4, "a");
    pend("n", 4, "a", 1001);
    pend("z", 4, "a");
    recordingHost::host().now = 1089;
    EXPECT_EQ(passOf(gPaController), "sleep 9000\n");
    recordingHost::host().now = 1090;
    gAudioServerInstance = nullptr;
    EXPECT_EQ(passOf(gPaController), "*o: audio  failed 1 \n*o: audio z failed 1 \nsleep 9000\n");
    recordingHost::host().now = 1091;
    EXPECT_EQ(passOf(gPaController), "*o: audio n failed 1 \nsleep 9000\n");
    EXPECT_EQ(passOf(gPaController), "sleep 9000\n");
}

TEST_F(PreviewsTest, AnObserverMayAskAgainAfterATimeOut) {
    PAController controller;
    RecordingObserver observer("o");
    TTSPendingInfo old(4, "en", "anna", 48000, "a", 0);
    observer.inCallback = [&] { controller.addToTTSPreviewPendingList("k", old); };
    controller.registerObserver(&observer);
    controller.addToTTSPreviewPendingList("k", old);
    recordingHost::transcript();
    EXPECT_EQ(passOf(controller), "*o: audio k failed 1 \nsleep 9000\n") << "once in a pass";
    EXPECT_EQ(passOf(controller), "*o: audio k failed 1 \nsleep 9000\n");
}

TEST_F(PreviewsTest, AMessageAsksForTheAudioOfItsFirstText) {
    Message message = spoken("request-1");
    recordingHost::host().now = 2000;
    EXPECT_EQ(message.retrieveAudioMessage(), "request-1");
    EXPECT_EQ(recordingHost::transcript(), R"(send -1 108/3 1 request-1,en,anna,48000,"Say \"a\"")"
                                           "\n");
    gIndirectCXSConnection = true;
    EXPECT_EQ(spoken("short").retrieveAudioMessage(), "generated-1");
    EXPECT_EQ(recordingHost::transcript(),
              R"(send -1 108/3 1 generated-1,en,anna,48000,"Say \"a\"")"
              "\n");
    EXPECT_EQ(handle(9, with(full, 2, "Never said")), "*o: audio u\"1 rendered 0 file:///a.wav\n");
    EXPECT_EQ(handle(9, with(full, 2, R"("Say \"a\"")")),
              "*o: audio request-1 rendered 0 file:///a.wav\n");
    recordingHost::host().now = 2090;
    EXPECT_EQ(passOf(gPaController), "*o: audio generated-1 failed 1 \nsleep 9000\n")
        << "an indirect connection knows no port";
    EXPECT_EQ(message.playAnnouncement({"Z"}), "request-1") << "a preview plays nothing";
}

TEST_F(PreviewsTest, AMessageWithoutASpokenTextIsRefused) {
    Message stored = spoken("request-1");
    stored.setAudioMessageType(Message::TTS_SAF);
    Message empty;
    empty.setAudioMessageType(Message::TTS);
    for (const Message& message : {stored, empty, Message()}) {
        EXPECT_EQ(outcome([&] { message.retrieveAudioMessage(); }),
                  "invalid_argument invalid audio message type");
    }
    EXPECT_EQ(recordingHost::transcript(), "");
}

}  // namespace
