#include "simserver/AudioFile.h"
#include "simserver/Refused.h"
#include "simserver/UserRecorder.h"
#include "tests/simserver/AudioFolder.h"
#include "tests/simserver/Replay.h"
#include "tests/simserver/SmallStation.h"
#include "tests/simserver/tables.h"

namespace {

using namespace simserver;
using namespace std::chrono_literals;

struct RecorderTest : testing::Test {
    /// Records `path` for a time, and returns its samples.
    std::vector<std::int16_t> recorded(const std::string& path, SimTime length) {
        recorder.start(path, 5s);
        recorder.stop(5s + length);
        return samplesOf(*spool.placeOf(path));
    }

    AudioFolder folder;
    Station station = smallStation();
    Spool spool{folder.path};
    UserRecorder recorder{station, spool};
};

TEST_F(RecorderTest, RecordsATone) {
    station.microphone.tone = 1000;
    const auto samples = recorded("/home/quillon/tmp/a b.wav", 2500ms);
    ASSERT_EQ(samples.size(), 48U * 2500);
    EXPECT_EQ(samples.size(), 120000U);
    // A wave of 48 samples, a quarter of full scale, without a break where a second ends.
    for (std::size_t i = 0; i + 48 < samples.size(); ++i) {
        ASSERT_NEAR(samples[i], samples[i + 48], 1) << i;
    }
    EXPECT_NEAR(samples[12], 8192, 2);
    EXPECT_NEAR(samples[24], 0, 2);
    EXPECT_NEAR(samples[36], -8192, 2);
    EXPECT_TRUE(recorded("/home/quillon/tmp/a b.wav", 0ms).empty());
}

TEST_F(RecorderTest, RecordsAFileAgainAndAgain) {
    // 100 ms at half the server's rate: left 8000, right nothing at first and then 8000 as well.
    std::ofstream file(folder.path / "m.wav", std::ios::binary);
    file << std::string(
        "RIFF\xA4\x25\0\0WAVEfmt \x10\0\0\0\1\0\2\0\xC0\x5D\0\0\0\x77\1\0\4\0\x10\0"
        "data\x80\x25\0\0",
        44);
    for (int i = 0; i < 2400; ++i) {
        file << std::string(i < 1200 ? "\x40\x1F\0\0" : "\x40\x1F\x40\x1F", 4);
    }
    file.close();
    station.microphone.file = (folder.path / "m.wav").string();
    const auto samples = recorded("/home/quillon/tmp/r.wav", 190ms);
    ASSERT_EQ(samples.size(), 9120U);
    for (const std::size_t again : {0U, 4800U}) {
        EXPECT_NEAR(samples[1200 + again], 4000, 100);
        EXPECT_NEAR(samples[3600 + again], 8000, 100);
    }
}

TEST_F(RecorderTest, LosesNothingWhenARecordingCannotBeStored) {
    const std::string path = "/home/quillon/tmp/r.wav";
    const auto failing = [this](auto stop) {
        return withFullDisk(10'000, [&] {
            EXPECT_THROW(stop(), Refused);
            return folder.files();
        });
    };
    EXPECT_EQ(recorded(path, 10ms).size(), 480U);
    recorder.start(path, 0s);
    EXPECT_EQ(failing([this] { recorder.stop(1s); }), 1);
    EXPECT_EQ(samplesOf(folder.path / "r.wav").size(), 480U);
    recorder.stop(2s);
    EXPECT_EQ(samplesOf(folder.path / "r.wav").size(), 96000U);

    // One that has reached its greatest length is over in any case.
    recorder.start(path, 7s);
    EXPECT_EQ(recorder.nextDue(), SimTime(607s));
    EXPECT_EQ(failing([this] { recorder.stopDue(); }), 1);
    EXPECT_EQ(recorder.nextDue(), std::nullopt);
    EXPECT_EQ(samplesOf(folder.path / "r.wav").size(), 96000U);
}

TEST_F(RecorderTest, RefusesWhatIsNoSoundAndWhatIsNoFile) {
    const auto start = [this](const std::string& file) {
        station.microphone.file = (folder.path / file).string();
        UserRecorder(station, spool).start("/home/quillon/tmp/r.wav", 0s);
        return std::string("started");
    };
    writeWav(folder.path / "empty.wav", {}, 0);
    std::ofstream(folder.path / "text.wav") << "not a sound";
    expectResults(start, R"~(
no.wav    | microphone: cannot read no.wav: System error...
text.wav  | microphone: cannot read text.wav: ...
empty.wav | microphone: empty.wav holds no sound
)~");
    station.microphone.file.clear();
    std::filesystem::create_directory(folder.path / "f");
    EXPECT_THROW(recorder.start("/home/quillon/tmp/f", 0s), Refused);
    EXPECT_THROW(recorder.remove("/home/quillon/tmp/f"), Refused);
}

struct RecordingsTest : ServerTest {
    RecordingsTest() : ServerTest(smallStation()) {
        server.connectClient(client);
        client.told();
    }
};

TEST_F(RecordingsTest, PlaysBackWhatWasRecorded) {
    // A file appears when its recording stops, or is ten minutes long; an older one of that name is
    // there until then. The operator's own preview and an announcement last as long.
    replay(R"~(
> 78/5 /home/quillon/tmp/a,"b".wav

> +1500

> 78/6

> 1/1 "/home/quillon/tmp/a,\"b\".wav"
11: 1 "server-1" Queued, 1 "server-1" Playing
> 78/5 /home/quillon/tmp/a,"b".wav

> 78/5 /home/quillon/tmp/c.wav
refused: 78/5 [] "/home/quillon/tmp/a,"b".wav" is being recorded
> 78/9 "/home/quillon/tmp/a,\"b\".wav"
refused: 78/9 [] "/home/quillon/tmp/a,"b".wav" is being recorded
> 78/6 now
refused: 78/6 [] nothing is expected, found "now"
> +1499

> +1
11: 1 "server-1" Finished 0 "played to its end", 1 gone
> 78/6

> 78/9 "/home/quillon/tmp/a,\"b\".wav"

> 1/1 "/home/quillon/tmp/a,\"b\".wav"
refused: 1/1 [] there is no recording "/home/quillon/tmp/a,"b".wav"
> 1/1 "/srv/evacuation.wav"
refused: 1/1 [] "/srv/evacuation.wav" is not a file name in /home/quillon/tmp/
> 78/9 /home/quillon/tmp/r.wav
refused: 78/9 [] not a quoted text
> 78/5 /home/quillon/tmp/../r.wav
refused: 78/5 [] "/home/quillon/tmp/../r.wav" is not a file name in /home/quillon/tmp/
> 78/5 /home/quillon/tmp/r.wav

> +599999

> 78/9 "/home/quillon/tmp/r.wav"
refused: 78/9 [] "/home/quillon/tmp/r.wav" is being recorded
> +5000

> 78/6
refused: 78/6 [] nothing is being recorded
> 92/17 "long",0,500,"1,ip,\"Yard\",3^/home/quillon/tmp/r.wav,,0^0^0"
11: 2 "long" Queued, 2 "long" Playing / 3: 6 2 1 / 20: 5 Active Recorded
> +599999

> +1
11: 2 "long" Finished 0 "played to its end", 2 gone / 3: 6 1 0 / 20: 5 Idle None
)~");
}

TEST_F(RecordingsTest, SaysWhatItCannotStoreOrPlay) {
    const AudioFolder folder;
    const std::string file = (folder.path / "text.wav").string();
    std::ofstream(file) << "not a sound";
    EXPECT_TRUE(server.storeFile(file, "/home/quillon/tmp/t.wav").stored);
    const auto told = [this](const std::string& step) {
        take(step);
        return client.told();
    };
    const auto told10Minutes = [&] {
        return withFullDisk(10'000, [&] { return told("+600000"); });
    };
    take("78/5 /home/quillon/tmp/r.wav");
    EXPECT_EQ(told10Minutes().find("refused: 78/6 [] cannot store \"/home/quillon/tmp/r.wav\""),
              0U);
    EXPECT_EQ(told(R"(1/1 "/home/quillon/tmp/t.wav")").find("refused: 1/1 [] cannot read t"), 0U);
}

TEST_F(RecordingsTest, TellsOfSpokenTexts) {
    replay(R"~(
> 108/3 first,en,Eve,48000,"Hi, \"you\""
refused: 108/3 [first] no voice "Eve" for language "en" at 48000 Hz
    / 102: 1 -1 "first" "Hi, \"you\"", 1 gone
> 108/3 second,en,Ann,48000,Hi
refused: 108/3 [second] text: not a quoted text
> 108/3 third,en,Ann,"Hi"
refused: 108/3 [third] 4 fields; expected id,language,voice,rate,text
> 108/3 ,en,Ann,48000,"Hi"
refused: 108/3 [] no request id
> disconnect

> 108/3 fourth,en,Ann,48000,"Hi, \"you\""

)~");
    // Nobody is there when it is ready; who comes then is told with everything else.
    server.waitUntilSpoken();
    EXPECT_EQ(client.told(), "");
    server.connectClient(client);
    const std::string connected = client.told();
    EXPECT_NE(connected.find(" / 102: 2 7 "), std::string::npos) << connected;
    take("108/3 sixth,en,Ann,48000,\"Hi, \\\"you\\\"\"");
    EXPECT_NE(connected.find(client.told()), std::string::npos);
    server.handleOperation({-1, 108, 3, 1, std::string("fifth,en,Ann,48000,\"a\0b\"", 24)});
    EXPECT_EQ(client.told(), "refused: 108/3 [fifth] the payload holds a NUL byte");

    // Clients come and go while a text is spoken.
    take("108/3 seventh,en,Ann,48000,\"One more\"");
    for (int i = 0; i < 100; ++i) {
        server.disconnectClient();
        server.connectClient(client);
    }
    server.waitUntilSpoken();
    EXPECT_NE(client.told().find("3 7 "), std::string::npos);
}

}  // namespace
