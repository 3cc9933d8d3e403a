#include "simserver/PreviewStudio.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <stdexcept>

#include "simserver/Records.h"
#include "simserver/SpeakableText.h"
#include "simserver/Synthesizer.h"
#include "tests/simserver/AudioFolder.h"
#include "tests/simserver/SmallStation.h"
#include "tests/simserver/tables.h"

namespace {

using namespace simserver;

std::string sha256Of(const std::filesystem::path& file) {
    const std::string command = "sha256sum < '" + file.string() + "'";
    FILE* const pipe = popen(command.c_str(), "r");
    std::string text(64, ' ');
    const std::size_t count = std::fread(text.data(), 1, text.size(), pipe);
    pclose(pipe);
    return text.substr(0, count);
}

/// The program that speaks is a script while such an object is there. It has one voice.
class FakeSynthesizer {
public:
    explicit FakeSynthesizer(const std::string& script) {
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "espeak-ng")
            << "#!/bin/sh\ncase $1 in --voices*) printf 'File\\n5 en - E gmw/en\\n'; exit;; esac\n"
            << script << "\n";
        std::filesystem::permissions(folder / "espeak-ng", std::filesystem::perms::owner_all);
        setenv("PATH", folder.c_str(), 1);
    }
    FakeSynthesizer(const FakeSynthesizer&) = delete;
    FakeSynthesizer& operator=(const FakeSynthesizer&) = delete;
    ~FakeSynthesizer() {
        setenv("PATH", path.c_str(), 1);
        std::filesystem::remove_all(folder);
    }

    const std::string path = std::getenv("PATH");
    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / ("fake" + std::to_string(getpid()));
};

/// A script that writes the header of a WAV file of 8000 Hz and then its input.
const std::string echoes =
    R"(printf 'RIFF\0\360\377\177WAVEfmt \20\0\0\0\1\0\1\0\100\37\0\0\200\76\0\0\2\0\20\0data\0\0\0\0')"
    "\nexec /bin/cat";

struct PreviewStudioTest : testing::Test {
    PreviewStudioTest() {
        station.voices.push_back({9, "tlh", "Worf", 48000, "", ""});
        station.voices.push_back({10, "en", "Ann", 48000, "", ""});  // the first one speaks
        station.voices.push_back({11, "x", "Thief", 48000, "", "en+../!v/f2"});
        station.voices.push_back({12, "x", "Typo", 48000, "", "en+f"});
        station.voices.push_back({13, "no-one", "Ole", 48000, "", ""});
    }

    /// What becomes of a request; nothing when it is given up.
    Preview outcomeOf(const RetrievalRequest& request) {
        told.clear();
        const auto atOnce = studio.request(request);
        studio.waitUntilIdle();
        return atOnce ? *atOnce : told.empty() ? Preview() : told.at(0);
    }

    /// What becomes of a text of the voice Ann.
    Preview spoken(const std::string& text) {
        return outcomeOf({"request", "en", "Ann", "48000", text});
    }

    AudioFolder folder;
    Station station = smallStation();
    Spool spool{folder.path};
    std::vector<Preview> told;  // on the studio's thread
    PreviewStudio studio{station, spool,
                         [this](const Preview& preview) { told.push_back(preview); }};
};

TEST_F(PreviewStudioTest, SpeaksATextIntoAFile) {
    const Preview preview = spoken("Mind \"the\" gap");
    const std::string name = "preview-" + preview.uuid + ".wav";
    const std::filesystem::path file = folder.path / name;
    const RecordFields record = {"7",
                                 "\"" + preview.uuid + "\"",
                                 R"("Mind \"the\" gap")",
                                 "\"/home/quillon/tmp/" + name + "\"",
                                 "\"" + std::to_string(std::filesystem::file_size(file)) + "\"",
                                 "\"" + sha256Of(file) + "\"",
                                 "\"file://" + testing::TempDir() + "50%25%20sp%C3%B6ol%20" +
                                     folder.pid + "/" + name + "\""};
    EXPECT_EQ(previewRecord(preview), record);

    // Three short words last about a second, and are loud.
    const auto samples = samplesOf(file);
    EXPECT_NEAR(static_cast<double>(samples.size()), 50'000, 15'000);
    EXPECT_GT(*std::max_element(samples.begin(), samples.end()), 3000);

    // Again it is there at once; another voice speaks anew; what has been deleted is made again.
    EXPECT_EQ(spoken(preview.text).uuid, preview.uuid);
    EXPECT_TRUE(told.empty());
    const Preview other = outcomeOf({"r", "en", "Bob", "22050", preview.text});
    EXPECT_EQ(other.item, 2);
    EXPECT_EQ(other.port, 8);
    std::filesystem::remove(file);
    const Preview anew = spoken(preview.text);
    EXPECT_EQ(anew.item, 1);
    EXPECT_NE(anew.uuid, preview.uuid);
    EXPECT_EQ(folder.files(), 2);
    EXPECT_EQ(studio.previews().size(), 2U);
}

TEST_F(PreviewStudioTest, SaysWhyATextIsNotSpoken) {
    const auto why = [this](const std::string& given) {
        RetrievalRequest request{"request", "", "", "", ""};
        std::istringstream fields(given);
        for (std::string* field :
             {&request.language, &request.voice, &request.rate, &request.text}) {
            std::getline(fields, *field, '/');
        }
        const Preview preview = outcomeOf(request);
        EXPECT_EQ(preview.port, -1);
        EXPECT_EQ(preview.uuid, "request");
        EXPECT_EQ(preview.text, request.text);
        return preview.whyFailed;
    };
    expectResults(why, R"~(
de/Ann/48000/Hi     | no voice "Ann" for language "de" at 48000 Hz
en/Eve/48000/Hi     | no voice "Eve" for language "en" at 48000 Hz
en/Ann/22050/Hi     | no voice "Ann" for language "en" at 22050 Hz
en/Ann/0/Hi         | rate: "0" is not above 0
en/Ann/4,8e4/Hi     | rate: "4,8e4" is not a number
en/Ann/48000/       | no text to speak
en/Ann/48000/...    | nothing of the text can be spoken
tlh/Worf/48000/Hi   | the speech synthesizer has no voice "tlh"
x/Thief/48000/Hi    | the speech synthesizer has no voice "en+../!v/f2"
x/Typo/48000/Hi     | the speech synthesizer has no voice "en+f"
no-one/Ole/48000/Hi | the speech synthesizer has no voice "no-one"
)~");
    EXPECT_EQ(folder.files(), 0);
    EXPECT_TRUE(studio.previews().empty());
}

TEST_F(PreviewStudioTest, SpeaksHostileTextsAsText) {
    // Markup, a command of the engine, phonemes and what is not UTF-8 at all.
    for (const char* text : {"<break time='9s'/>", "\001450S", "[[h@]]", "\xC3(\xFF ox \xE2\x82"}) {
        const Preview preview = spoken(text);
        EXPECT_EQ(preview.whyFailed, "") << text;
        EXPECT_EQ(preview.text, text);
    }
}

TEST(SpeakableText, HoldsNoCommandsAndNoPhonemes) {
    EXPECT_EQ(speakable("a\001b\x7F\n\xC3\xA9"), "a b  \xC3\xA9");
    EXPECT_EQ(speakable("\xC0\x80 \xFF\xE2\x82z\xF5\xA9\xF0\x9F\x9A\x8B\xE2\x82"),
              "      z  \xF0\x9F\x9A\x8B  ");
    EXPECT_EQ(speakable("[\xC2\xAD[h@]]"), "[ \xC2\xAD[ h@]]");  // the hyphen cannot be seen
}

/// A program that echoes reads no more while nobody takes what it has written.
TEST(Synthesizer, HearsWhileItSends) {
    const FakeSynthesizer fake(echoes);
    std::string text;
    for (int i = 0; i < 500'000; ++i) {
        text += "\xC3\xA9";
    }
    text += 'e';  // half a sample too many
    double heard = 0;
    const auto sound = speak("en", text, [&heard](double seconds) {
        heard = seconds;
        return true;
    });
    ASSERT_TRUE(sound);
    EXPECT_EQ(sound->rate, 8000);
    EXPECT_EQ(sound->samples, std::vector<float>(500'000, (0xA9C3 - 0x10000) / 32768.0F));
    EXPECT_NEAR(heard, 62.5, 0.001);
}

/// On the studio's thread, which blocks every signal.
TEST_F(PreviewStudioTest, SurvivesTheSynthesizer) {
    const std::string text(50'000, 'A');
    const int leak = dup2(0, 77);
    std::string stereo = echoes;
    stereo.replace(stereo.find("\\1\\0\\1"), 6, "\\1\\0\\2");
    for (const std::string& script : {
             std::string("kill -SEGV $$"),
             "kill -TERM $$\n" + echoes,  // a signal that is blocked would not be noticed
             "[ -e /proc/$$/fd/77 ] || exit 3\n" + echoes,
             "(" + echoes + ")\nkill -KILL $$",  // after the whole sound
             "(" + echoes + ")\nexit 1",
             std::string("exit 2"),
             std::string("exec /bin/cat"),
             std::string("echo RIFF"),
             stereo,
         }) {
        const FakeSynthesizer fake(script);
        EXPECT_EQ(spoken(text).whyFailed, "the speech synthesizer has failed") << script;
        std::filesystem::remove(fake.folder / "espeak-ng");
        EXPECT_EQ(spoken(text).whyFailed, "the speech synthesizer has failed");
    }
    close(leak);
    EXPECT_EQ(spoken("Mind the gap").port, 7);
}

TEST(Synthesizer, EndsWhatIsGivenUp) {
    const FakeSynthesizer fake("echo $$ > \"${0%/*}/pid\"\necho\nexec /bin/sleep 600");
    for (const bool throws : {false, true}) {
        pid_t pid = 0;
        const auto goesOn = [&](double) {
            const bool begun = static_cast<bool>(std::ifstream(fake.folder / "pid") >> pid);
            if (begun && throws) {
                throw std::domain_error("enough");
            }
            return !begun;
        };
        if (throws) {
            EXPECT_THROW(speak("en", "Hi", goesOn), std::domain_error);
        } else {
            EXPECT_FALSE(speak("en", "Hi", goesOn));
        }
        EXPECT_EQ(kill(pid, 0), -1) << pid;  // nothing is left of it
        std::filesystem::remove(fake.folder / "pid");
    }
}

TEST(Synthesizer, SpeaksForSeveralAtOnce) {
    bool second = false;
    const auto first = speak("en", "Mind the gap", [&](double) {
        second = second || speak("en-us+F4", "Hi", [](double) { return true; });
        return true;
    });
    EXPECT_TRUE(first);
    EXPECT_TRUE(second);
}

TEST_F(PreviewStudioTest, GivesUpWhatTakesTooLong) {
    std::string longText;
    for (int i = 0; i < 100; ++i) {
        longText += "Mind the gap. ";
    }
    EXPECT_EQ(spoken(longText).item, 0);
    EXPECT_EQ(spoken(std::string(70'000, ' ')).item, 0);
    EXPECT_EQ(spoken(std::string(60'000, ' ')).whyFailed, "nothing of the text can be spoken");
    EXPECT_EQ(folder.files(), 0);
    station.longestPreview = 1;
    EXPECT_EQ(spoken("Please stand clear of the closing doors").item, 0);
    station.longestPreview = 600;
    {
        PreviewStudio closing(station, spool,
                              [](const Preview& preview) { FAIL() << preview.uri; });
        closing.request({"r", "en", "Ann", "48000", longText});
    }
    EXPECT_EQ(folder.files(), 0);
}

TEST_F(PreviewStudioTest, LeavesNothingHalfWrittenBehind) {
    Preview preview;
    {
        const FakeSynthesizer fake(echoes);  // the real one creates files
        const std::string text(5000, 'A');   // 30 kB of sound
        preview = withFullDisk(10'000, [&] { return spoken(text); });
    }
    EXPECT_EQ(preview.whyFailed.substr(0, 24), "cannot write the audio: ");
    EXPECT_EQ(folder.files(), 0);
    std::filesystem::remove(folder.path);
    EXPECT_EQ(spoken("Mind the gap").whyFailed, "No such file or directory");
    std::filesystem::create_directory(folder.path);
    EXPECT_EQ(spoken("Mind the gap").port, 7);
}

/// While a report is held back, what arrives waits.
TEST_F(PreviewStudioTest, AnswersAllWhoAskForATextTogether) {
    std::promise<void> begun;
    std::promise<void> go;
    std::vector<std::string> reports;
    PreviewStudio busy(station, spool, [&](const Preview& preview) {
        if (reports.empty()) {
            begun.set_value();
            go.get_future().wait();
        }
        reports.push_back(preview.port == -1 ? preview.uuid : preview.text);
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
    reports.resize(4);
    EXPECT_EQ(reports, (std::vector<std::string>{"Hold", "Go", "b", "c"}));
}

}  // namespace
