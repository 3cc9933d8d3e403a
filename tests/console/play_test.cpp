#include <csignal>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "client/ChangeStream.h"
#include "console/interrupt.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

using Words = std::vector<std::string>;

/// The parts and states of the lines that follow the request id.
Words statesIn(const std::string& out) {
    Words states;
    const auto lines = linesOf(out);
    for (std::size_t i = 1; i < lines.size(); ++i) {
        std::istringstream line(lines[i]);
        std::string time;
        std::string unit;
        std::string part;
        std::string state;
        line >> time >> unit >> part >> state;
        states.push_back(part.append(" ").append(state));
    }
    return states;
}

Ran play(const Words& more) {
    Words words = {"play", "--zones", "Platform 1,Concourse", "--request-id", "request-1"};
    words.insert(words.end(), more.begin(), more.end());
    return runConsole(words);
}

TEST(Play, followsEachKindOfContentToItsEnd) {
    const TestFolder folder;
    const Words audible = {"audio Queued", "audio Playing", "audio Finished:"};
    const std::pair<Words, Words> cases[] = {
        {{"--items", "12,40", "--repeat", "2", "--pre-chime", "1"}, audible},
        {{"--text", "Mind the gap", "--language", "en", "--voice", "Amelia"}, audible},
        {{"--text", "Vorsicht", "--text", "bitte", "--language", "DE"}, audible},
        {{"--file", folder.writeWav("gong.wav", 48000)}, audible},
        {{"--display", "Main", "--var", "A=1", "--validity", "1"},
         {"visual Queued", "visual Playing", "visual Finished:"}},
        {{"--items", "12", "--display", "Main", "--validity", "0"}, audible},
    };
    for (const auto& [content, states] : cases) {
        SCOPED_TRACE(content[0]);
        Words words = content;
        words.emplace_back("--wait");
        const Ran ran = play(words);
        EXPECT_EQ(ran.code, 0);
        EXPECT_EQ(ran.err, "");
        EXPECT_EQ(linesOf(ran.out).at(0), "request-1");
        EXPECT_EQ(statesIn(ran.out), states);
    }
    const Ran both = play({"--wait", "--items", "12", "--display", "Main", "--format", "json"});
    Words finished;
    for (const std::string& line : linesOf(both.out)) {
        const auto parsed = nlohmann::json::parse(line);
        if (parsed.value("completionCode", "") == "0") {
            finished.push_back(parsed["part"]);
        }
    }
    EXPECT_EQ(finished, (Words{"audio", "visual"}));
}

TEST(Play, hasAClearLineForEachOutcome) {
    const TestFolder folder;
    const auto file = folder.writeWav("gong.wav", 100);
    const std::string spool = (folder.path() / "spool").string();
    std::filesystem::create_directories(folder.path() / "spool" / "gong.wav" / "taken");
    struct Case {
        Words words;
        int code;
        const char* out;
        const char* message;
    };
    const Case cases[] = {
        {{"--items", "12"}, 0, "request-1\n", "the announcement ends with this command"},
        {{"--display", "M", "--validity", "0", "--timeout", "0.05"}, 0, "request-1\n", "ends with"},
        {{"--items", "9999"}, 4, "", "request request-1 refused: "},
        {{"--recording", "none.wav", "--wait"}, 4, "request-1\n", "request request-1 failed: "},
        {{"--recording", "a,b"}, 1, "", "the path '/home/quillon/tmp/a,b' has a comma"},
        {{"--items", "12", "--repeat", "100000", "--wait", "--timeout", "0.3"},
         5,
         "request-1\n",
         "request request-1 is not over in time; its outcome is unknown"},
        {{"--text", "x", "--language", "de", "--voice", "amelia"},
         3,
         "",
         "there is no voice 'Amelia' in the language 'de'; there is one in en"},
        {{"--items", "12", "--dry-run"}, 0, "no problems found\n", ""},
        {{"--items", "12", "--dry-run", "--zones", "Platform 6"},
         0,
         "PROBLEM\nzone 'Platform 6' is reported as ",
         ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        const Ran ran = play(c.words);
        EXPECT_EQ(ran.code, c.code);
        EXPECT_EQ(ran.out.substr(0, std::string(c.out).size()), c.out);
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), *c.message == '\0' ? 0U : 1U) << ran.err;
    }
    const Ran upload =
        play({"--file", file, "--spool", spool});  // the link says why in a line more
    EXPECT_EQ(upload.code, 4);
    EXPECT_TRUE(contains(upload.err, "request request-1 failed: not uploaded")) << upload.err;
}

TEST(Play, reportsWhatAnInterruptionLeaves) {
    const TestFolder folder;
    console::interrupt::install();
    const paclient::Listener interrupter(
        paclient::kinds<paclient::Updated<AnnouncementRequest>>(),
        [](const paclient::ChangePtr&) { kill(getpid(), SIGINT); });
    const Ran ran =
        runConsole({"--script", folder.write("script",
                                             "play --zones Concourse --items 12 --repeat 1000000 "
                                             "--request-id request-1 --wait")});
    console::interrupt::rearm();
    EXPECT_EQ(ran.code, 130);
    EXPECT_TRUE(contains(ran.err, "interrupted; request request-1 ends with this command"))
        << ran.err;
}

TEST(InterruptDeathTest, endsACommandCleanly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            console::interrupt::install();
            std::raise(SIGTERM);
            std::exit(console::run({"monitor"}, {std::cout, std::cerr}));
        },
        testing::ExitedWithCode(130), "^paconsole: interrupted\n$");
}

}  // namespace
