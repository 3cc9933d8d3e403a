#include "simserver/audio/SpeechRenderer.h"

#include <algorithm>
#include <cstdio>
#include <future>

#include "simserver/protocol/Records.h"
#include "tests/simserver/FakeSynthesizer.h"
#include "tests/simserver/stations.h"
#include "tests/simserver/tables.h"

namespace {

using namespace simserver;

std::string sha256Of(const std::filesystem::path& file) {
    FILE* const pipe = popen(("sha256sum < '" + file.string() + "'").c_str(), "r");
    std::string text(64, ' ');
    const std::size_t count = std::fread(text.data(), 1, text.size(), pipe);
    pclose(pipe);
    return text.substr(0, count);
}

struct PreviewStudioTest : testing::Test {
    PreviewStudioTest() {
        station.voices.push_back({9, "tlh", "Worf", 48000, "", ""});
        station.voices.push_back({10, "en", "Ann", 48000, "", ""});  // the first one speaks
        station.voices.push_back({11, "x", "Thief", 48000, "", "en+../!v/f2"});
        station.voices.push_back({12, "x", "Typo", 48000, "", "en+f"});
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

    TestFolder folder;
    Station station = smallStation();
    UploadFolder spool{folder.path / "spool"};
    std::vector<Preview> told;  // on the studio's thread
    SpeechRenderer studio{station, spool,
                          [this](const Preview& preview) { told.push_back(preview); }};
};

TEST_F(PreviewStudioTest, SpeaksATextIntoAFile) {
    const Preview preview = spoken("Mind \"the\" gap");
    const std::string name = "/pa-previews/" + preview.uuid + ".wav";
    const std::filesystem::path file = folder.path.string() + "/spool" + name;
    std::string said;
    for (const auto& field : previewRecord(preview)) {
        said += *field + "\n";
    }
    EXPECT_EQ(said, "7\n\"" + preview.uuid + "\"\n\"Mind \\\"the\\\" gap\"\n\"/home/quillon/tmp" +
                        name + "\"\n\"" + std::to_string(std::filesystem::file_size(file)) +
                        "\"\n\"" + sha256Of(file) + "\"\n\"file://" + testing::TempDir() +
                        "50%25%20sp%C3%B6ol%20" + folder.pid + "/spool" + name + "\"\n");

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
en/Ann/22050/Hi     | no voice "Ann" for language "en" at 22050 Hz
en/Ann/0/Hi         | rate: "0" is not above 0
en/Ann/4,8e4/Hi     | rate: "4,8e4" is not a number
en/Ann/48000/       | no text to speak
en/Ann/48000/...    | nothing of the text can be spoken
tlh/Worf/48000/Hi   | the speech synthesizer has no voice "tlh"
x/Thief/48000/Hi    | the speech synthesizer has no voice "en+../!v/f2"
x/Typo/48000/Hi     | the speech synthesizer has no voice "en+f"
)~");
    EXPECT_EQ(folder.files(), 0);
    EXPECT_TRUE(studio.previews().empty());

    // Markup, a command of the engine, phonemes and what is not UTF-8 at all are spoken.
    for (const char* text : {"<break time='9s'/>", "\001450S", "[[h@]]", "\xC3(\xFF ox \xE2\x82"}) {
        const Preview preview = spoken(text);
        EXPECT_EQ(preview.whyFailed, "") << text;
        EXPECT_EQ(preview.text, text);
    }
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
             std::string("exec /bin/cat"),
             std::string("echo RIFF"),
             stereo,
         }) {
        const FakeSynthesizer fake(script);
        EXPECT_EQ(spoken(text).whyFailed, "the speech synthesizer has failed") << script;
        std::filesystem::remove(fake.folder.path / "espeak-ng");
        EXPECT_EQ(spoken(text).whyFailed, "the speech synthesizer has failed");
    }
    close(leak);
    EXPECT_EQ(spoken("Mind the gap").port, 7);
}

TEST_F(PreviewStudioTest, GivesUpWhatTakesTooLong) {
    std::string longText;
    for (int i = 0; i < 100; ++i) {
        longText += "Mind the gap. ";
    }
    EXPECT_EQ(spoken(longText).item, 0);
    EXPECT_EQ(spoken(std::string(70'000, ' ')).item, 0);
    EXPECT_EQ(spoken(std::string(60'000, ' ')).whyFailed, "nothing of the text can be spoken");
    station.longestPreview = 1;
    EXPECT_EQ(spoken("Please stand clear of the closing doors").item, 0);
    station.longestPreview = 600;
    {
        SpeechRenderer closing(station, spool,
                               [](const Preview& preview) { FAIL() << preview.uri; });
        closing.request({"r", "en", "Ann", "48000", longText});
    }
    EXPECT_EQ(folder.files(), 0);
}

/// While a report is held back, what arrives waits.
TEST_F(PreviewStudioTest, AnswersAllWhoAskForATextTogether) {
    std::promise<void> begun;
    std::promise<void> go;
    std::string reports;
    SpeechRenderer busy(station, spool, [&](const Preview& preview) {
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

}  // namespace
