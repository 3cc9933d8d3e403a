// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <future>

#include "simserver/audio/ChildProcess.h"
#include "simserver/audio/SpeakableText.h"
#include "simserver/audio/SpeechRenderer.h"
#include "simserver/audio/Synthesizer.h"
#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

/// The program that speaks is a script while such an object is there. It has one voice.
struct FakeSynthesizer : TestFolder {
    explicit FakeSynthesizer(const std::string& script) {
        const std::string program = write(
            "espeak-ng",
            "#!/bin/sh\ncase $1 in --voices*) printf 'File\\n5 en - E gmw/en\\n'; exit;; esac\n" +
                script);
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        setenv("PATH", path().c_str(), 1);
    }
    ~FakeSynthesizer() { setenv("PATH", before.c_str(), 1); }

    const std::string before = std::getenv("PATH");
};

/// A script that writes the header of a WAV file of 48000 Hz and then its input.
const std::string echoes =
    R"(printf 'RIFF\0\360\377\177WAVEfmt \20\0\0\0\1\0\1\0\200\273\0\0\0\167\1\0\2\0\20\0data\0\0\0\0')"
    "\nexec /bin/cat";

TEST(SpeakableText, HoldsNoCommandsAndNoPhonemes) {
    EXPECT_EQ(speakable("a\001b\x7F\n\xC3\xA9 \xC0\x80 \xE2\x82z"), "a b  \xC3\xA9      z");
    EXPECT_EQ(speakable("[\xC2\xAD[h@]]"), "[ \xC2\xAD[ h@]]");  // the hyphen cannot be seen
}

/// A program that echoes stops reading while its output is not taken.
TEST(Synthesizer, ReceivesWhileItSends) {
    const FakeSynthesizer fake(echoes);
    const auto sound = speak("en", std::string(1'000'001, 'A'), [](double) { return true; });
    ASSERT_TRUE(sound);
    EXPECT_EQ(sound->rate, 48000);
    EXPECT_EQ(sound->samples, std::vector<float>(500'000, 0x4141 / 32768.0F));
}

/// One that writes no more, one that has closed its output, and one that is stopped.
TEST(ChildProcess, IsKilledWhenItHangsOrIsStopped) {
    const std::pair<std::string, bool> cases[] = {
        {"exec sleep 600", false}, {"exec sleep 600 <&- >&-", false}, {"exec sleep 600", true}};
    for (const auto& [script, isStopped] : cases) {
        std::string output;
        const auto end = runProgram(
            {"sh", "-c", "echo $$; " + script}, "",
            [&, stops = isStopped](const std::string& soFar) {
                return (output = soFar).empty() || !stops;
            },
            std::chrono::milliseconds(50));
        EXPECT_FALSE(end && end->exitCode) << script;
        EXPECT_EQ(kill(std::stoi(output), 0), -1) << script;
    }
}

struct SpeechTest : TestFolder, ServerTest {
    SpeechTest() : TestFolder(unusual), ServerTest(smallStation(), {1.0, true, path()}) {
        eventsOf("connect");
    }

    /// What is reported about a request: language, voice, rate and the encoded text.
    std::string spoken(const std::string& request) {
        take("108/3 r," + request);
        server.waitUntilSpoken();
        return client.events();
    }

    /// Of an item, and the name of its file.
    std::string uuidOf(int item) {
        return decoded(*client.last[{RecordKind::TtsDictionary, item}].at(1));
    }
};

TEST_F(SpeechTest, StoresASpokenTextOnce) {
    const FakeSynthesizer fake(echoes);
    const std::string request = R"(en,Ann,48000,"Hi!\"")";
    const std::string first = spoken(request);
    const std::string uuid = uuidOf(1);
    const std::string name = "pa-previews/" + uuid + ".wav";
    std::string fields;
    for (const auto field : client.last[{RecordKind::TtsDictionary, 1}]) {
        fields.append(*field).append("\n");
    }
    // A header of 44 bytes and two samples; the checksum is that of sha256sum.
    EXPECT_EQ(fields,
              "7\n\"" + uuid + "\"\n\"Hi!\\\"\"\n\"/home/quillon/tmp/" + name +
                  "\"\n\"48\"\n\"b6115bddc08aece618418018670333a8c9de4951ac5a04810ebea98e560388d7\""
                  "\n\"file://" +
                  changed(path().string(), unusual + std::string(" => 50%25%20sp%C3%B6ol%20")) +
                  "/" + name + "\"\n");

    // The same text is known; another voice speaks it again; a deleted file is made again.
    EXPECT_EQ(spoken(request), first);
    EXPECT_EQ(spoken(R"(en,Bob,22050,"Hi!\"")").find("item: 2 8 "), 0U);
    std::filesystem::remove(path() / name);
    EXPECT_EQ(spoken(request).find("item: 1 7 "), 0U);
    EXPECT_NE(uuidOf(1), uuid);
}

TEST_F(SpeechTest, SpeaksAnyTextThatIsNotTooLong) {
    expectTable([this](const std::string& request) { return spoken(request); });
    EXPECT_EQ(spoken("en,Ann,48000,\"" + std::string(70'000, ' ') + '"')
                  .find("refused: 108/3 [r] the text is too long: it has more than 65536 bytes"),
              0U);
    EXPECT_EQ(files(), 0);

    // Markup, a command of the engine, phonemes and bytes that are not UTF-8 are spoken.
    EXPECT_EQ(spoken("en,Ann,48000,\"<break time='9s'/>\001450S[[h@]]\xC3(\xFF \xE2\x82\"")
                  .find("item: 8 7"),
              0U);
    // Three short words last about a second, and are loud.
    spoken(R"(en,Ann,48000,"Mind the gap")");
    const auto samples = samplesOf(path() / "pa-previews" / (uuidOf(9) + ".wav"));
    EXPECT_NEAR(static_cast<double>(samples.size()), 50'000, 15'000);
    EXPECT_GT(*std::max_element(samples.begin(), samples.end()), 3000);
}

/// On the renderer's thread, which blocks every signal.
TEST_F(SpeechTest, SurvivesTheSynthesizer) {
    const int leak = dup2(0, 77);
    for (const std::string& script : {
             std::string("kill -SEGV $$"),
             "kill -TERM $$\n" + echoes,  // a signal that is blocked would not be noticed
             "[ -e /proc/$$/fd/77 ] || exit 3\n" + echoes,
             "(" + echoes + ")\nexit 1",  // after all of the audio
             std::string("exec /bin/cat"),
             changed(echoes, "\\1\\0\\1 => \\1\\0\\2"),  // two channels
         }) {
        const FakeSynthesizer fake(script);
        EXPECT_EQ(spoken("en,Ann,48000,\"" + std::string(50'000, 'A') + '"')
                      .find("refused: 108/3 [r] the speech synthesizer has failed / "),
                  0U)
            << script;
    }
    close(leak);
}

TEST_F(SpeechTest, ReportsToWhateverClientIsConnected) {
    take("disconnect");
    EXPECT_EQ(spoken(R"(en,Ann,48000,"Hi")"), "");
    const std::string connected = eventsOf("connect");
    const std::string again = spoken(R"(en,Ann,48000,"Hi")");
    EXPECT_EQ(again.find("item: 1 7 "), 0U) << again;
    EXPECT_NE(connected.find(again), std::string::npos) << connected;
    // Clients connect and disconnect while a text is spoken.
    take("108/3 r,en,Ann,48000,\"One more\"");
    for (std::string all; all.find("2 7 ") == std::string::npos; all += client.events()) {
        server.connectClient(client);
        server.disconnectClient();
    }
}

TEST_F(SpeechTest, KeepsTheLatestPreviews) {
    const FakeSynthesizer fake(echoes);
    std::string last;
    for (int i = 1; i <= 51; ++i) {
        last = spoken("en,Ann,48000,\"Text " + std::to_string(i) + '"');
    }
    EXPECT_EQ(last.find("item: 51 7 "), 0U) << last;
    EXPECT_NE(last.find(", 1 deleted"), std::string::npos) << last;
    const std::filesystem::directory_iterator previews(path() / "pa-previews");
    EXPECT_EQ(std::distance(begin(previews), end(previews)), 50);
}

/// While a report is held back, what arrives waits.
TEST(SpeechRenderer, AnswersAllRequestsForATextTogether) {
    const FakeSynthesizer fake("exit 1");
    const Station station = smallStation();
    const UploadFolder uploads("");
    std::promise<void> begun;
    std::promise<void> go;
    std::string reports;
    SpeechRenderer busy(station, uploads, [&](const Preview& preview) {
        if (reports.empty()) {
            begun.set_value();
            go.get_future().wait();
        }
        reports += preview.uuid + " ";
    });
    const auto ask = [&](const std::string& id, const std::string& text) {
        return busy.request({id, "en", "Ann", "48000", text}).value_or(Preview()).whyFailed;
    };
    ask("a", "Hold");
    begun.get_future().wait();
    for (int i = 1; i <= 32; ++i) {
        EXPECT_EQ(ask("r", std::to_string(i)), "");
    }
    EXPECT_EQ(ask("late", "more"), "32 texts are waiting to be spoken already");
    EXPECT_EQ(ask("b", "1"), "");
    for (int i = 2; i <= 100; ++i) {
        EXPECT_EQ(ask("c", "2"), "");
    }
    EXPECT_EQ(ask("late", "2"), "100 requests wait for this text already");
    go.set_value();
    busy.waitUntilIdle();
    EXPECT_EQ(reports.substr(0, 8), "a r b r ");

    // One that is destroyed ends what it speaks, and reports nothing.
    const FakeSynthesizer endless("exec /bin/sleep 600");
    SpeechRenderer closing(station, uploads, [](const Preview& preview) { FAIL() << preview.uri; });
    closing.request({"r", "en", "Ann", "48000", "Hi"});
}

}  // namespace
