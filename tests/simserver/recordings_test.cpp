// SPDX-License-Identifier: Apache-2.0
#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

struct RecordingsTest : TestFolder, ServerTest {
    RecordingsTest() : ServerTest(smallStation(), {1.0, true, path()}) { eventsOf("connect"); }

    /// Of the recording with the name r.
    std::vector<short> samples() const { return samplesOf(path() / "r"); }

    /// Records a tenth of a second and some more with another microphone.
    /// @return the reason of a refusal
    std::string recordedBy(const std::string& microphone) const {
        Station station = smallStation();
        station.microphone.file = path() / microphone;
        SimServer other(station, {1.0, true, path()});
        const auto refused = other.operate(operationIn("78/5 /home/quillon/tmp/r"));
        other.advance(std::chrono::milliseconds(190));
        other.operate(operationIn("78/6"));
        return refused ? refused->reason : "";
    }
};

TEST_F(RecordingsTest, RepeatAFile) {
    // 100 ms at half the server's rate: left nothing at first, then 8000; right 8000.
    std::vector<short> frames(4800, 8000);
    for (std::size_t i = 0; i < frames.size() / 2; i += 2) {
        frames[i] = 0;
    }
    SndfileHandle((path() / "m").string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 24000)
        .write(frames.data(), 4800);
    EXPECT_EQ(recordedBy("m"), "");
    ASSERT_EQ(samples().size(), 9120U);
    EXPECT_NEAR(samples()[1200 + 4800], 4000, 100);
    EXPECT_NEAR(samples()[3600 + 4800], 8000, 100);
    writeWav("empty.wav", 0);
    EXPECT_EQ(recordedBy("empty.wav"), "microphone: empty.wav holds no audio");
    EXPECT_EQ(recordedBy("no.wav").find("microphone: cannot read no.wav: System error"), 0U);
}

TEST_F(RecordingsTest, AreNotLostWhenTheyCannotBeStored) {
    eventsOf("78/5 /home/quillon/tmp/r");
    take("+1000");
    const std::filesystem::path obstacle = path() / "r";
    std::filesystem::create_directory(obstacle);
    EXPECT_EQ(eventsOf("78/6"),
              R"(refused: 78/6 [] cannot store "/home/quillon/tmp/r": Is a directory)");
    std::filesystem::remove(obstacle);
    take("+1000");
    EXPECT_EQ(eventsOf("78/6"), R"(part: 1 Recorded 0 "/home/quillon/tmp/r" deleted)");
    EXPECT_EQ(samples().size(), 96'000U);

    // One that has reached its greatest length is over in any case.
    eventsOf("78/5 /home/quillon/tmp/r");
    std::filesystem::remove(obstacle);
    std::filesystem::create_directory(obstacle);
    EXPECT_EQ(eventsOf("+600000"),
              R"(part: 2 Failed 3 "cannot store \"/home/quillon/tmp/r\": Is a directory" deleted)");
}

TEST_F(RecordingsTest, AreReportedAndPlayed) {
    std::filesystem::create_directory(path() / "folder");
    // A file appears when its recording stops, or is ten minutes long; until then an older one of
    // that name remains. The operator's own preview lasts as long.
    replay();
    eventsOf("78/5 /home/quillon/tmp/r");
    const std::string connected = eventsOf("connect");
    EXPECT_NE(connected.find(R"(part: 5 Recording - "/home/quillon/tmp/r" / complete)"),
              std::string::npos)
        << connected;
}

}  // namespace
