#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <stdexcept>

#include "simserver/audio/ChildProcess.h"
#include "simserver/audio/SpeakableText.h"
#include "simserver/audio/SpeechRenderer.h"
#include "simserver/audio/Synthesizer.h"
#include "simserver/protocol/Records.h"
#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

/// The program that speaks is a script while such an object is there. It has one voice.
class FakeSynthesizer {
public:
    explicit FakeSynthesizer(const std::string& script) {
        const std::string program = folder.write(
            "espeak-ng",
            "#!/bin/sh\ncase $1 in --voices*) printf 'File\\n5 en - E gmw/en\\n'; exit;; esac\n" +
                script + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        setenv("PATH", folder.path().c_str(), 1);
    }
    FakeSynthesizer(const FakeSynthesizer&) = delete;
    FakeSynthesizer& operator=(const FakeSynthesizer&) = delete;
    ~FakeSynthesizer() { setenv("PATH", path.c_str(), 1); }

    const std::string path = std::getenv("PATH");
    const TestFolder folder;
};

/// A script that writes the header of a WAV file of 8000 Hz and then its input.
const std::string echoes =
    R"(printf 'RIFF\0\360\377\177WAVEfmt \20\0\0\0\1\0\1\0\100\37\0\0\200\76\0\0\2\0\20\0data\0\0\0\0')"
    "\nexec /bin/cat";

TEST(SpeakableText, HoldsNoCommandsAndNoPhonemes) {
    EXPECT_EQ(speakable("a\001b\x7F\n\xC3\xA9"), "a b  \xC3\xA9");
    EXPECT_EQ(speakable("\xC0\x80 \xFF\xE2\x82z\xF5\xA9\xF0\x9F\x9A\x8B\xE2\x82"),
              "      z  \xF0\x9F\x9A\x8B  ");
    EXPECT_EQ(speakable("[\xC2\xAD[h@]]"), "[ \xC2\xAD[ h@]]");  // the hyphen cannot be seen
}

/// A program that echoes stops reading while its output is not taken.
TEST(Synthesizer, ReceivesWhileItSends) {
    const FakeSynthesizer fake(echoes);
    std::string text(1'000'001, '\xC3');  // half a sample too many
    for (std::size_t i = 1; i < text.size(); i += 2) {
        text[i] = '\xA9';
    }
    double length = 0;
    const auto sound =
        speak("en", text, [&length](double seconds) { return (length = seconds) >= 0; });
    ASSERT_TRUE(sound);
    EXPECT_EQ(sound->rate, 8000);
    EXPECT_EQ(sound->samples, std::vector<float>(500'000, (0xA9C3 - 0x10000) / 32768.0F));
    EXPECT_NEAR(length, 62.5, 0.001);
}

TEST(Synthesizer, EndsTheProgramWhenItIsStopped) {
    const FakeSynthesizer fake("echo $$ > \"${0%/*}/pid\"\necho\nexec /bin/sleep 600");
    pid_t pid = 0;
    const auto hasBegun = [&] {
        return static_cast<bool>(std::ifstream(fake.folder.path() / "pid") >> pid);
    };
    EXPECT_FALSE(speak("en", "Hi", [&](double) { return !hasBegun(); }));
    EXPECT_EQ(kill(pid, 0), -1) << pid;  // nothing is left of it
    std::filesystem::remove(fake.folder.path() / "pid");
    const auto throwing = [&](double) { return hasBegun() ? throw std::domain_error("") : true; };
    EXPECT_THROW(speak("en", "Hi", throwing), std::domain_error);
    EXPECT_EQ(kill(pid, 0), -1) << pid;
}

/// One that writes no more, and one that has closed its output.
TEST(ChildProcess, IsKilledWhenItHangs) {
    for (const char* const script :
         {"echo $$; exec sleep 600", "echo $$; exec sleep 600 <&- >&-"}) {
        const auto end = runProgram(
            {"sh", "-c", script}, "", [](const auto&) { return true; },
            std::chrono::milliseconds(50));
        ASSERT_TRUE(end);
        EXPECT_EQ(end->exitCode, std::nullopt) << script;
        EXPECT_EQ(kill(std::stoi(end->output), 0), -1) << script;
    }
}

std::string sha256Of(const std::filesystem::path& file) {
    FILE* const pipe = popen(("sha256sum < '" + file.string() + "'").c_str(), "r");
    std::string text(64, ' ');
    const std::size_t count = std::fread(text.data(), 1, text.size(), pipe);
    pclose(pipe);
    return text.substr(0, count);
}

struct SpeechRendererTest : testing::Test {
    SpeechRendererTest() {
        station.voices.push_back({9, "tlh", "Worf", 48000, "", ""});
        station.voices.push_back({10, "en", "Ann", 48000, "", ""});  // the first one speaks
        station.voices.push_back({11, "x", "Thief", 48000, "", "en+../!v/f2"});
        station.voices.push_back({12, "x", "Typo", 48000, "", "en+f"});
    }

    Preview outcomeOf(const RetrievalRequest& request) {
        reported.clear();
        const auto atOnce = renderer.request(request);
        renderer.waitUntilIdle();
        return atOnce ? *atOnce : reported.at(0);
    }

    /// The outcome of a text of the voice Ann.
    Preview spoken(const std::string& text) {
        return outcomeOf({"request", "en", "Ann", "48000", text});
    }

    const TestFolder folder{TestFolder::unusual};
    Station station = smallStation();
    UploadFolder uploads{folder.path() / "uploads"};
    std::vector<Preview> reported;  // on the renderer's thread
    SpeechRenderer renderer{station, uploads,
                            [this](const Preview& preview) { reported.push_back(preview); }};
};

TEST_F(SpeechRendererTest, SpeaksATextIntoAFile) {
    const Preview preview = spoken("Mind \"the\" gap");
    const std::string name = "/pa-previews/" + preview.uuid + ".wav";
    const std::filesystem::path file = folder.path().string() + "/uploads" + name;
    std::string escaped = folder.path().string();
    escaped.replace(escaped.find(TestFolder::unusual), std::strlen(TestFolder::unusual),
                    "50%25%20sp%C3%B6ol%20");
    std::string fields;
    for (const auto& field : previewRecord(preview)) {
        fields += *field + "\n";
    }
    EXPECT_EQ(fields, "7\n\"" + preview.uuid + "\"\n\"Mind \\\"the\\\" gap\"\n\"/home/quillon/tmp" +
                          name + "\"\n\"" + std::to_string(std::filesystem::file_size(file)) +
                          "\"\n\"" + sha256Of(file) + "\"\n\"file://" + escaped + "/uploads" +
                          name + "\"\n");

    // Three short words last about a second, and are loud.
    const auto samples = samplesOf(file);
    EXPECT_NEAR(static_cast<double>(samples.size()), 50'000, 15'000);
    EXPECT_GT(*std::max_element(samples.begin(), samples.end()), 3000);

    // The same text is known; another voice speaks it again; a deleted file is made again.
    EXPECT_EQ(spoken(preview.text).uuid, preview.uuid);
    EXPECT_TRUE(reported.empty());
    const Preview other = outcomeOf({"r", "en", "Bob", "22050", preview.text});
    EXPECT_EQ(other.item, 2);
    EXPECT_EQ(other.port, 8);
    std::filesystem::remove(file);
    const Preview again = spoken(preview.text);
    EXPECT_EQ(again.item, 1);
    EXPECT_NE(again.uuid, preview.uuid);
    EXPECT_EQ(folder.files(), 2);
    EXPECT_EQ(renderer.previews().size(), 2U);
}

TEST_F(SpeechRendererTest, ReportsWhyATextIsNotSpoken) {
    station.longestPreview = 1;
    const auto why = [this](const std::string& given) {
        RetrievalRequest request{"request", "", "", "", ""};
        std::istringstream fields(given);
        for (std::string* field :
             {&request.language, &request.voice, &request.rate, &request.text}) {
            std::getline(fields, *field, '/');
        }
        if (request.text == "...long") {
            request.text.assign(70'000, ' ');
        }
        const Preview preview = outcomeOf(request);
        EXPECT_EQ(preview.port, -1);
        EXPECT_EQ(preview.uuid, "request");
        EXPECT_EQ(preview.text, request.text);
        return preview.whyFailed;
    };
    expectResults(why, R"~(
en/Ann/22050/Hi     | no voice "Ann" for language "en" at 22050 Hz
en/Ann/0/Hi         | rate: "0" is not above 0
en/Ann/4,8e4/Hi     | rate: "4,8e4" is not a number
en/Ann/48000/       | no text to speak
en/Ann/48000/...    | nothing of the text can be spoken
en/Ann/48000/...long | the text is too long: it has more than 65536 bytes
en/Ann/48000/Please stand clear of the doors | the text is too long: to speak it takes more than 1 s
tlh/Worf/48000/Hi   | the speech synthesizer has no voice "tlh"
x/Thief/48000/Hi    | the speech synthesizer has no voice "en+../!v/f2"
x/Typo/48000/Hi     | the speech synthesizer has no voice "en+f"
)~");
    EXPECT_EQ(folder.files(), 0);
    EXPECT_TRUE(renderer.previews().empty());

    // Markup, a command of the engine, phonemes and bytes that are not UTF-8 are spoken.
    station.longestPreview = 60;
    for (const char* text : {"<break time='9s'/>", "\001450S", "[[h@]]", "\xC3(\xFF ox \xE2\x82"}) {
        const Preview preview = spoken(text);
        EXPECT_EQ(preview.whyFailed, "") << text;
        EXPECT_EQ(preview.text, text);
    }

    // A renderer that is destroyed ends what it speaks, and reports nothing.
    SpeechRenderer closing(station, uploads, [](const Preview& preview) { FAIL() << preview.uri; });
    closing.request({"r", "en", "Ann", "48000", std::string(60'000, 'A')});
}

/// On the renderer's thread, which blocks every signal.
TEST_F(SpeechRendererTest, SurvivesTheSynthesizer) {
    const std::string text(50'000, 'A');
    const int leak = dup2(0, 77);
    std::string stereo = echoes;
    stereo.replace(stereo.find("\\1\\0\\1"), 6, "\\1\\0\\2");
    for (const std::string& script : {
             std::string("kill -SEGV $$"),
             "kill -TERM $$\n" + echoes,  // a signal that is blocked would not be noticed
             "[ -e /proc/$$/fd/77 ] || exit 3\n" + echoes,
             "(" + echoes + ")\nkill -KILL $$",  // after all of the audio
             "(" + echoes + ")\nexit 1",
             std::string("exec /bin/cat"),
             std::string("echo RIFF"),
             stereo,
         }) {
        const FakeSynthesizer fake(script);
        EXPECT_EQ(spoken(text).whyFailed, "the speech synthesizer has failed") << script;
    }
    close(leak);
    {
        const FakeSynthesizer fake("");
        std::filesystem::remove(fake.folder.path() / "espeak-ng");
        EXPECT_EQ(spoken(text).whyFailed,
                  "the speech synthesizer espeak-ng cannot be started: No such file or directory");
    }
    EXPECT_EQ(spoken("Mind the gap").port, 7);
}

/// While a report is held back, what arrives waits.
TEST_F(SpeechRendererTest, AnswersAllRequestsForATextTogether) {
    std::promise<void> begun;
    std::promise<void> go;
    std::string reports;
    SpeechRenderer busy(station, uploads, [&](const Preview& preview) {
        if (reports.empty()) {
            begun.set_value();
            go.get_future().wait();
        }
        reports += (preview.port == -1 ? preview.uuid : preview.text) + " ";
    });
    const auto ask = [&](const std::string& id, const std::string& text) {
        return busy.request({id, "en", "Ann", "48000", text});
    };
    EXPECT_FALSE(ask("a", "Hold"));
    begun.get_future().wait();
    for (const char* id : {"b", "c"}) {
        EXPECT_FALSE(ask(id, "Go"));
        EXPECT_FALSE(ask(id, "..."));
    }
    for (int i = 2; i < 32; ++i) {
        EXPECT_FALSE(ask("r", "..." + std::to_string(i)));
    }
    EXPECT_EQ(ask("late", "more").value_or(Preview()).whyFailed,
              "32 texts are waiting to be spoken already");
    EXPECT_FALSE(ask("d", "Go"));
    go.set_value();
    busy.waitUntilIdle();
    EXPECT_EQ(reports.substr(0, 12), "Hold Go b c ");
}

TEST_F(ServerTest, ReportsPreviews) {
    take("connect");
    client.events();
    replay(R"~(
108/3 first,en,Eve,48000,"Hi, \"you\"" | refused: 108/3 [first] no voice "Eve" for language "en" at
    48000 Hz / item: 1 -1 "first" "Hi, \"you\"" deleted
108/3 second,en,Ann,48000,Hi | refused: 108/3 [second] text: not a quoted text
108/3 third,en,Ann,"Hi" | refused: 108/3 [third] 4 fields; expected id,language,voice,rate,text
108/3 ,en,Ann,48000,"Hi" | refused: 108/3 [] no request id
disconnect |
108/3 fourth,en,Ann,48000,"Hi, \"you\"" |
)~");
    // A preview that is ready while no client is there is reported at the next connection.
    server.waitUntilSpoken();
    EXPECT_EQ(client.events(), "");
    const std::string connected = eventsOf("connect");
    const std::string again = eventsOf(R"(108/3 sixth,en,Ann,48000,"Hi, \"you\"")");
    EXPECT_EQ(again.find("item: 2 7 "), 0U) << again;
    EXPECT_NE(connected.find(again), std::string::npos);

    server.handleOperation(
        {-1, pa::operations::retrieveAudio, 1, std::string("fifth,en,Ann,48000,\"a\0b\"", 24)});
    EXPECT_EQ(client.events(), "refused: 108/3 [fifth] the payload holds a NUL byte");

    // Clients connect and disconnect while a text is spoken.
    take("108/3 seventh,en,Ann,48000,\"One more\"");
    for (std::string all; all.find("3 7 ") == std::string::npos; all += client.events()) {
        server.connectClient(client);
        server.disconnectClient();
    }
}

}  // namespace
