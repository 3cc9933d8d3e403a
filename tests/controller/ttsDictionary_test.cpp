// The text-to-speech dictionary, and the previews that wait for it.
#include <gtest/gtest.h>
#include <stdexcept>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"
#include "tests/support/thrownBy.h"

namespace {

const RecordFields full =
    fieldsOf(R"(4|"u\"1"|"Mind, the gap"|"a\\b.wav"|"96044"|"c0ffee"|"file:///a.wav")");

struct TtsDictionaryTest : testing::Test {
    TtsDictionaryTest() {
        recordingHost::watchTheController();
        recordingHost::reset();
        gPaController.initPaResources();
        RecordList port({"en", "anna", "48000"});
        gPaController.updateFromTTS_Ports(4, port.list());
    }
    ~TtsDictionaryTest() override { gPaController.initPaResources(); }

    static std::string handle(int key, const RecordFields& fields) {
        RecordList record(fields);
        gPaController.updateFromTTS_Dictionary(key, record.list());
        return recordingHost::transcript();
    }

    static void pend(const std::string& key, int port, const std::string& text,
                     std::time_t since = 1000) {
        TTSPendingInfo info(port, "en", "anna", 48000, text, since);
        gPaController.addToTTSPreviewPendingList(key, info);
    }

    /// What the worker's next pass does.
    static std::string pass(PAController& controller = gPaController) {
        struct Stop {};
        recordingHost::setSleepAction([](int) { throw Stop(); });
        EXPECT_THROW(controller.threadFunction(nullptr), Stop);
        recordingHost::setSleepAction(nullptr);
        return recordingHost::transcript();
    }

    static std::string listed() {
        std::string text;
        for (const TTSDictionary& d : gPaController.getTTSDictionaryList()) {
            text += std::to_string(d.key) + "|" + std::to_string(d.portNo) + "|" + d.uuid + "|" +
                    d.text + "|" + d.fullName + "|" + d.size + "|" + d.checksum + "|" + d.uri + " ";
        }
        return text;
    }

    static Message spoken(const std::string& id) {
        Message message;
        message.setRequestID(id);
        message.setAudioMessage("Say \"a\"", "en", "anna", Message::UTF_8);
        message.setAudioMessage("Never said", "en", "anna", Message::UTF_8);
        return message;
    }
};

TEST_F(TtsDictionaryTest, CachesItemsAndTellsOfEveryRecord) {
    const std::string told = "*o: audio u\"1 rendered 0 file:///a.wav\n";
    debugLevel = 1;
    EXPECT_EQ(handle(9, full),
              "*log 1 updateFromTTS_Dictionary: TTS Dictionary Item >9< UUID >u\"1< added. Text "
              ">Mind, the gap<\n" +
                  told);
    EXPECT_EQ(handle(9, full), told);
    EXPECT_EQ(handle(9, with(full, 3, R"("b\"")")),
              "*log 1 updateFromTTS_Dictionary: TTS Dictionary Item >9< UUID >u\"1< updated. Text "
              ">Mind, the gap<\n" +
                  told);
    debugLevel = 0;
    EXPECT_EQ(handle(2, {"-1", "request"}), "*o: audio request failed 2 \n");
    EXPECT_EQ(listed(), "2|-1|request||||| 9|4|u\"1|Mind, the gap|b\"|96044|c0ffee|file:///a.wav ");
    debugLevel = 1;
    for (std::size_t column = 0; column < full.size(); ++column) {
        const int key = static_cast<int>(column) + 10;
        handle(key, full);
        EXPECT_NE(handle(key, with(full, column, "x")).find("updated"), std::string::npos);
        EXPECT_EQ(handle(key, with(full, column, "x")).find("log"), std::string::npos) << column;
    }
    gPaController.deleteFromTTS_Dictionary(9);
    gPaController.deleteFromTTS_Dictionary(77);
    EXPECT_EQ(gPaController.getTTSDictionaryList().size(), full.size() + 1);
    gPaController.deleteFromTTS_Dictionary(0);
    EXPECT_EQ(listed(), "");
}

TEST_F(TtsDictionaryTest, AnItemCompletesEveryPreviewOfItsTextAndPort) {
    pend("b", 4, "Mind, the gap");
    pend("a", 4, "Mind, the gap");
    pend("c", 4, "mind, the gap");
    pend("d", 4, "Mind, the gap ");
    pend("e", 5, "Mind, the gap");
    gPaController.deleteFromTTS_Dictionary(0);
    EXPECT_EQ(handle(9, full), "*o: audio b rendered 0 file:///a.wav\n")
        << "one call, the last key";
    EXPECT_EQ(handle(9, full), "*o: audio u\"1 rendered 0 file:///a.wav\n");
    EXPECT_EQ(handle(8, with(full, 0, "-1")), "*o: audio u\"1 failed 2 file:///a.wav\n");
    recordingHost::setWallClock(1090);
    EXPECT_EQ(pass(),
              "*o: audio c failed 1 \n*o: audio d failed 1 \n*o: audio e failed 1 \nsleep 9000\n");
}

TEST_F(TtsDictionaryTest, PreviewsAreGivenUpAfterNinetySeconds) {
    pend("", 4, "a");
    pend("n", 4, "a", 1001);
    pend("z", 4, "a");
    recordingHost::setWallClock(1089);
    EXPECT_EQ(pass(), "sleep 9000\n");
    recordingHost::setWallClock(1090);
    gAudioServerInstance = nullptr;
    EXPECT_EQ(pass(), "*o: audio  failed 1 \n*o: audio z failed 1 \nsleep 9000\n");
    recordingHost::setWallClock(1091);
    EXPECT_EQ(pass(), "*o: audio n failed 1 \nsleep 9000\n");
    EXPECT_EQ(pass(), "sleep 9000\n");
}

TEST_F(TtsDictionaryTest, AnObserverMayAskAnewWhenItIsToldOfATimeOut) {
    PAController controller;
    RecordingObserver observer("o");
    TTSPendingInfo old(4, "en", "anna", 48000, "a", 0);
    observer.inCallback = [&] { controller.addToTTSPreviewPendingList("k", old); };
    controller.registerObserver(&observer);
    controller.addToTTSPreviewPendingList("k", old);
    recordingHost::transcript();
    EXPECT_EQ(pass(controller), "*o: audio k failed 1 \nsleep 9000\n") << "once in a pass";
    EXPECT_EQ(pass(controller), "*o: audio k failed 1 \nsleep 9000\n");
}

TEST_F(TtsDictionaryTest, AMessageAsksForTheAudioOfItsFirstText) {
    Message message = spoken("request-1");
    recordingHost::setWallClock(2000);
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
    recordingHost::setWallClock(2090);
    EXPECT_EQ(pass(), "*o: audio generated-1 failed 1 \nsleep 9000\n")
        << "an indirect connection knows no port";
    EXPECT_EQ(message.playAnnouncement({"Z"}), "request-1") << "a preview plays nothing";
}

TEST_F(TtsDictionaryTest, AMessageWithoutASpokenTextIsRefused) {
    Message stored = spoken("request-1");
    stored.setAudioMessageType(Message::TTS_SAF);
    Message empty;
    empty.setAudioMessageType(Message::TTS);
    for (const Message& message : {stored, empty, Message()}) {
        EXPECT_EQ(thrownBy<std::invalid_argument>([&] { message.retrieveAudioMessage(); }),
                  "invalid audio message type");
    }
    EXPECT_EQ(recordingHost::transcript(), "");
}

}  // namespace
