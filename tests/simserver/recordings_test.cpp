#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

Station stationWith(const std::string& microphone) {
    Station station = smallStation();
    station.microphone = {microphone, 1000};
    return station;
}

struct RecordingsTest : TestFolder, ServerTest {
    RecordingsTest() : ServerTest(stationWith(""), {1.0, true, path()}) { eventsOf("connect"); }

    /// Of the recording with the name r.
    std::vector<std::int16_t> samples() const { return samplesOf(path() / "r"); }

    /// Records a tenth of a second and some more with another microphone.
    /// @return the reason of a refusal
    std::string recordedBy(const std::string& microphone) const {
        SimServer other(stationWith((path() / microphone).string()), {1.0, true, path()});
        const auto refused = other.operateAsOther(operationIn("78/5 /home/quillon/tmp/r"));
        other.advance(std::chrono::milliseconds(190));
        other.operateAsOther(operationIn("78/6"));
        return refused.value_or("");
    }
};

TEST_F(RecordingsTest, HoldATone) {
    take("78/5 /home/quillon/tmp/r");
    take("+2500");
    take("78/6");
    const auto tone = samples();
    ASSERT_EQ(tone.size(), 120'000U);
    // A wave of 48 samples, a quarter of full scale, without a break where a second ends.
    for (std::size_t i = 0; i + 48 < tone.size(); ++i) {
        ASSERT_NEAR(tone[i], tone[i + 48], 1) << i;
    }
    EXPECT_NEAR(tone[12], 8192, 2);
    EXPECT_NEAR(tone[24], 0, 2);
    EXPECT_NEAR(tone[36], -8192, 2);
    take("78/5 /home/quillon/tmp/r");
    take("78/6");
    EXPECT_TRUE(samples().empty());
}

TEST_F(RecordingsTest, RepeatAFile) {
    // 100 ms at half the server's rate: left 8000, right nothing at first and then 8000 as well.
    std::string stereo(
        "RIFF\xA4\x25\0\0WAVEfmt \x10\0\0\0\1\0\2\0\xC0\x5D\0\0\0\x77\1\0\4\0\x10\0"
        "data\x80\x25\0\0",
        44);
    const std::string header = stereo;
    for (int i = 0; i < 2400; ++i) {
        stereo += std::string(i < 1200 ? "\x40\x1F\0\0" : "\x40\x1F\x40\x1F", 4);
    }
    write("m.wav", stereo);
    EXPECT_EQ(recordedBy("m.wav"), "");
    ASSERT_EQ(samples().size(), 9120U);
    for (const std::size_t repeated : {0U, 4800U}) {
        EXPECT_NEAR(samples()[1200 + repeated], 4000, 100);
        EXPECT_NEAR(samples()[3600 + repeated], 8000, 100);
    }
    write("empty.wav", header);
    write("text.wav", "not audio");
    expectResults([this](const std::string& microphone) { return recordedBy(microphone); }, R"~(
no.wav    | microphone: cannot read no.wav: System error...
text.wav  | microphone: cannot read text.wav: ...
empty.wav | microphone: empty.wav holds no audio
)~");
}

TEST_F(RecordingsTest, AreNotLostWhenTheyCannotBeStored) {
    const auto fails = [&](const std::string& step, const std::string& report) {
        const std::string events = withFullDisk(10'000, [&] { return eventsOf(step); });
        EXPECT_EQ(events.find(report), 0U) << events;
        EXPECT_EQ(files(), 1);
    };
    write("r", "an older one");
    eventsOf("78/5 /home/quillon/tmp/r");
    take("+1000");
    fails("78/6", R"(refused: 78/6 [] cannot store "/home/quillon/tmp/r": )");
    EXPECT_EQ(std::filesystem::file_size(path() / "r"), 12U);
    take("+1000");
    EXPECT_EQ(eventsOf("78/6"), R"(part: 1 Recorded 0 "/home/quillon/tmp/r" deleted)");
    EXPECT_EQ(samples().size(), 96'000U);

    // One that has reached its greatest length is over in any case.
    eventsOf("78/5 /home/quillon/tmp/r");
    fails("+600000", R"(part: 2 Failed 3 "cannot store \"/home/quillon/tmp/r\": )");
    EXPECT_EQ(samples().size(), 96'000U);
    EXPECT_EQ(eventsOf("78/6"), "refused: 78/6 [] nothing is being recorded");
}

TEST_F(RecordingsTest, AreReportedAndPlayed) {
    write("text", "not audio");
    std::filesystem::create_directory(path() / "folder");
    // A file appears when its recording stops, or is ten minutes long; until then an older one of
    // that name remains. The operator's own preview and an announcement last as long.
    replay(R"~(
78/5 /home/quillon/tmp/a,"b" | part: 1 Recording - "/home/quillon/tmp/a,\"b\""
+1500 |
78/6 | part: 1 Recorded 0 "/home/quillon/tmp/a,\"b\"" deleted
1/1 "/home/quillon/tmp/a,\"b\"" | part: 2 server-2 Queued Playing
78/5 /home/quillon/tmp/a,"b" | part: 3 Recording - "/home/quillon/tmp/a,\"b\""
78/5 /home/quillon/tmp/c | refused: 78/5 [] "/home/quillon/tmp/a,"b"" is being recorded
78/9 "/home/quillon/tmp/a,\"b\"" | refused: 78/9 [] "/home/quillon/tmp/a,"b"" is being recorded
78/6 now | refused: 78/6 [] nothing is expected, found "now"
+1499 |
+1 | part: 2 Finished 0 "played to its end" deleted
78/6 | part: 3 Recorded 0 "/home/quillon/tmp/a,\"b\"" deleted
78/9 "/home/quillon/tmp/a,\"b\"" |
1/1 "/home/quillon/tmp/a,\"b\"" | refused: 1/1 [] there is no recording "/home/quillon/tmp/a,"b""
1/1 "/srv/evacuation.wav" | refused: 1/1 [] "/srv/evacuation.wav" is not a file name in
    /home/quillon/tmp/
78/9 /home/quillon/tmp/r | refused: 78/9 [] not a quoted text
78/5 /home/quillon/tmp/../r | refused: 78/5 [] "/home/quillon/tmp/../r" is not a file name in
    /home/quillon/tmp/
1/1 "/home/quillon/tmp/text" | refused: 1/1 [] cannot read text: ...
78/5 /home/quillon/tmp/folder | refused: 78/5 [] "/home/quillon/tmp/folder" is not a file
78/9 "/home/quillon/tmp/folder" | refused: 78/9 [] there is no recording "/home/quillon/tmp/folder"
78/5 /home/quillon/tmp/r | part: 4 Recording - "/home/quillon/tmp/r"
+599999 |
78/9 "/home/quillon/tmp/r" | refused: 78/9 [] "/home/quillon/tmp/r" is being recorded
+5000 | part: 4 Recorded 0 "/home/quillon/tmp/r" deleted
78/6 | refused: 78/6 [] nothing is being recorded
92/17 "long",0,500,"1,ip,\"Yard\",3^/home/quillon/tmp/r,,0^0^0" | part: 5 long Queued Playing
    / sink: 6 2 / zone: 5 Recorded
+599999 |
+1 | part: 5 Finished 0 "played to its end" deleted / sink: 6 1 / zone: 5 None
)~");
    eventsOf("78/5 /home/quillon/tmp/r");
    const std::string connected = eventsOf("connect");
    EXPECT_NE(connected.find(R"(part: 6 Recording - "/home/quillon/tmp/r" / complete)"),
              std::string::npos)
        << connected;
    const auto& fields = client.last[{RecordKind::Announcement, 6}];
    EXPECT_EQ(*fields[0], "\"recording-5\"");
    EXPECT_FALSE(fields[9]) << "with content it would count as an announcement of a type";
}

}  // namespace
