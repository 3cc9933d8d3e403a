#include <gtest/gtest.h>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

struct TtsPortsTest : testing::Test {
    TtsPortsTest() { recordingHost::reset(); }

    std::string handle(int port, const RecordFields& fields) {
        RecordList record(fields);
        controller.updateFromTTS_Ports(port, record.list());
        return recordingHost::transcript();
    }

    std::string listed() {
        std::string text;
        for (const TTSVocalizer& v : controller.getTTSVocalizerList()) {
            text += std::to_string(v.portNo) + ":" + v.language + "/" + v.voice + "/" +
                    std::to_string(v.rate) + "/" + v.text + "/" + std::to_string(v.encoding) + " ";
        }
        return text;
    }

    PAController controller;
};

TEST_F(TtsPortsTest, CachesThePortsAndListsTheUsableOnes) {
    debugLevel = 1;
    EXPECT_EQ(handle(9, {"\"en\"", "\"an\\\"na\"", "48000", "\"hello\""}),
              "*log 1 updateFromTTS_Ports: Added - TTS Dictionary Port >9< Language >en< Voice "
              ">an\"na< Rate >48000<\n");
    EXPECT_EQ(handle(2, {"de", "eva", "(null)"}),
              "*log 1 updateFromTTS_Ports: Added - TTS Dictionary Port >2< Language >de< Voice "
              ">eva< Rate >48000<\n");
    EXPECT_NE(handle(5, {"fr", "zoe", "22050"}), "");
    EXPECT_EQ(listed(), "2:de/eva/48000//1 9:en/an\"na/48000/hello/1 ");

    EXPECT_EQ(handle(2, {"de", "eva", "48000"}), "");
    EXPECT_EQ(
        handle(2, {"de", std::nullopt, "48000", "t"}),
        "*log 1 updateFromTTS_Ports: Updated - TTS Dictionary Port >2< Language >de< Voice >< "
        "Rate >48000<\n");
    EXPECT_NE(handle(9, {"en", "anna", "22050"}), "");
    EXPECT_EQ(listed(), "2:de//48000/t/1 ");
}

TEST_F(TtsPortsTest, LosesOneOrAll) {
    handle(1, {"en", "a"});
    handle(2, {"en", "b"});
    handle(3, {"en", "c"});
    controller.deleteFromTTS_Ports(2);
    controller.deleteFromTTS_Ports(7);
    EXPECT_EQ(listed(), "1:en/a/48000//1 3:en/c/48000//1 ");
    controller.deleteFromTTS_Ports(0);
    EXPECT_EQ(listed(), "");
}

}  // namespace
