#include <fcntl.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "console/ExitCode.h"
#include "console/commands/sourceLevel.h"
#include "console/files/fileUri.h"
#include "console/files/wavFile.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t filesIn(const fs::path& folder) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

/// Runs what must fail.
/// @return the message
template <class Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (const console::Failure& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(FileUri, namesAFileOfThisMachine) {
    const std::pair<std::string, std::string> cases[] = {
        {"file:///tmp/a%20b%25%C3%BC.wav", "/tmp/a b%\xc3\xbc.wav"},
        {"FILE:/tmp/x", "/tmp/x"},
        {"file://localhost/tmp/x", "/tmp/x"},
        {"file:///", "/"},
    };
    for (const auto& [uri, path] : cases) {
        EXPECT_EQ(console::pathOfFileUri(uri).string(), path) << uri;
    }
    for (const std::string bad :
         {"", "/tmp/x", "http://host/x", "file:x", "file://host/x", "file:////host/x",
          "file:///a%2", "file:///a%", "file:///a%zz", "file:///a%00b", "file:///a%+1"}) {
        EXPECT_TRUE(contains(failureOf([&] { console::pathOfFileUri(bad); }), "no file here"))
            << bad;
    }
}

TEST(WavFormat, isSaidInWords) {
    EXPECT_EQ(console::formatText({48000, 1, 16, 1.516}), "WAV, 48000 Hz, mono, 16 bit, 1.52 s");
    EXPECT_EQ(console::formatText({44100, 2, 0, 60}), "WAV, 44100 Hz, stereo, 60.00 s");
    EXPECT_EQ(console::formatText({8000, 6, 24, 0}), "WAV, 8000 Hz, 6 channels, 24 bit, 0.00 s");
}

TEST(LevelBar, growsFromMinus60To0) {
    const std::pair<double, std::size_t> cases[] = {{-96, 0},
                                                    {-60, 0},
                                                    {-45, 10},
                                                    {-15, 30},
                                                    {0, 40},
                                                    {12, 40},
                                                    {std::numeric_limits<double>::quiet_NaN(), 0}};
    for (const auto& [level, length] : cases) {
        EXPECT_EQ(console::levelBar(level, 40), std::string(length, '#')) << level;
    }
}

std::vector<std::string> preview(const std::string& text, const fs::path& out) {
    return {"preview", text, "--language", "en", "--voice", "amelia", "--out", out.string()};
}

TEST(Preview, savesWhatTheServerSpeaks) {
    const TestFolder folder;
    const fs::path out = folder.path() / "gap.wav";
    const Ran ran = runConsole(preview("Mind the gap", out));
    EXPECT_EQ(ran.code, 0) << ran.err;
    EXPECT_TRUE(contains(ran.out, out.string() + ": WAV, 48000 Hz, mono, 16 bit, ")) << ran.out;
    EXPECT_EQ(console::checkWav(out.string()).rate, 48000);

    auto words = preview("Mind the \x1b[31m step, \"now\"", out);
    words.insert(words.end(), {"--format", "json"});
    const auto json = nlohmann::json::parse(runConsole(words).out);
    EXPECT_EQ(json["file"], out.string());
    EXPECT_EQ(json["channels"], 1);
    EXPECT_DOUBLE_EQ(json["seconds"], console::checkWav(out.string()).seconds);
    EXPECT_EQ(filesIn(folder.path()), 1U);
}

/// Whoever reads the standard input finds a text there, for as long as the object lives.
class StandardInput {
public:
    explicit StandardInput(const std::string& path) : before_(dup(STDIN_FILENO)) {
        const int file = open(path.c_str(), O_RDONLY);
        dup2(file, STDIN_FILENO);
        close(file);
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;
    ~StandardInput() {
        dup2(before_, STDIN_FILENO);
        close(before_);
    }

private:
    int before_;
};

TEST(Preview, hasAnAnswerThatIsToldToAnEarlierRequestForTheSame) {
    const TestFolder folder;
    std::string lines;
    for (const std::string text : {"one", "two", "three", "four", "five", "six"}) {
        const std::string command = "preview " + text + " --language en --voice Amelia --out " +
                                    (folder.path() / text).string() + " --timeout ";
        lines += command + "0\n" + command + "10\n";
    }
    const StandardInput input(folder.write("lines", lines));
    const Ran ran = runConsole({"shell"});
    EXPECT_EQ(linesOf(ran.out).size(), 6U) << ran.err;
    EXPECT_EQ(filesIn(folder.path()), 7U);
}

TEST(Preview, leavesNothingBehindWhenItFails) {
    struct Case {
        std::vector<std::string> words;
        int code;
        std::string message;
    };
    const TestFolder folder;
    const fs::path out = folder.write("gap.wav", "before");
    std::string endless;
    for (int i = 0; i < 300; ++i) {
        endless += "mind the gap ";
    }
    auto unknownVoice = preview("x", out);
    unknownVoice[5] = "Amelai";
    auto telephoneVoice = preview("x", out);
    telephoneVoice[5] = "Harold";  // at a rate that is not offered
    const Case cases[] = {
        {preview("", out), 1, "text argument is empty"},
        {preview("\xff", out), 1, "not UTF-8"},
        {preview("   ", out), 4, "the server"},
        {preview("x", folder.path() / "missing" / "x"), 1, "cannot be written"},
        {unknownVoice, 3, "did you mean 'Amelia'"},
        {telephoneVoice, 3, "there is no voice 'Harold'"},
        {preview(endless, out), 4, "the text is too long"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.words[1].substr(0, 20));
        std::string line = "--timeout 0.5";
        for (const std::string& word : c.words) {
            line += " '" + word + "'";
        }
        const Ran ran = runConsole({"--script", folder.write("script", line)});
        EXPECT_EQ(ran.code, c.code);
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), 1U) << ran.err;
        EXPECT_EQ(ran.out, "");
        EXPECT_EQ(contentOf(out), "before");
        EXPECT_EQ(filesIn(folder.path()), 2U);
    }
}

}  // namespace
