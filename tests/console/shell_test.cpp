#include "console/shell/Shell.h"

#include <deque>
#include <functional>
#include <nlohmann/json.hpp>

#include "console/text/resources.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "tests/console/Terminal.h"
#include "tests/console/consoleRun.h"
#include "tests/console/testFiles.h"

namespace {

using console::ExitCode;

/// Lines as if they were typed; what is between two of them happens there.
class Lines final : public console::LineSource {
public:
    struct Line {
        std::string text;
        std::function<void()> before = {};
    };

    explicit Lines(std::deque<Line> lines) : lines_(std::move(lines)) {}

    bool next(std::string& line) override {
        if (lines_.empty()) {
            return false;
        }
        if (lines_.front().before) {
            lines_.front().before();
        }
        line = lines_.front().text;
        lines_.pop_front();
        return true;
    }

private:
    std::deque<Line> lines_;
};

/// A shell without a terminal, and everything that it needs.
struct ShellRun {
    explicit ShellRun(std::deque<Lines::Line> lines) {
        Lines source(std::move(lines));
        code = console::Shell(context, news, false).run(source);
    }

    std::ostringstream outText;
    std::ostringstream errText;
    console::Output out{outText};
    console::Output diagnostics{errText};
    console::Settings settings;
    console::Connection connection{settings, diagnostics};
    console::Context context{settings, out, diagnostics, -1, connection};
    console::Session& session = context.session();
    console::ShellNews news{diagnostics};
    ExitCode code = ExitCode::Done;
};

TEST(Shell, goesOnAfterALineThatFails) {
    struct Case {
        std::deque<Lines::Line> lines;
        ExitCode code;
        std::vector<std::string> errors;  // how they begin
        std::size_t printed;              // lines
    };
    const std::string list = "list announcements";
    const Case cases[] = {
        {{}, ExitCode::Done, {}, 0},
        {{{""}, {"  # a comment"}, {list}}, ExitCode::Done, {}, 1},
        {{{"get zone Nowhere"}, {"'open"}, {list}},
         ExitCode::Usage,
         {"there is no zone 'Nowhere'", "the quote ' is not closed"},
         1},
        {{{"nonsense"}, {"get zone Nowhere"}, {list}},
         ExitCode::NotFound,
         {"there is no command 'nonsense'", "there is no zone"},
         1},
        {{{list + " --format json"}, {"--timeout 3"}, {list}}, ExitCode::Usage, {"no command"}, 2},
        {{{"status --speed 3"}, {"status --scenario x"}, {std::string("a\0b", 3)}},
         ExitCode::Usage,
         {"there is no option '--speed'", "there is no option '--scenario'", "a NUL character"},
         0},
        {{{"shell"}, {"exit"}, {list}}, ExitCode::Usage, {"a shell cannot run inside"}, 0},
        {{{"exit now"}, {"quit"}, {list}}, ExitCode::Usage, {"The following"}, 0},
        {{{"play --zones Concourse --items 9999 --wait --request-id abcdef"}},
         ExitCode::Refused,
         {"request abcdef refused: "},  // once
         1},
    };
    skipPauses();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lines.empty() ? "" : c.lines.front().text);
        const ShellRun run(c.lines);
        EXPECT_EQ(run.code, c.code);
        EXPECT_EQ(linesOf(run.outText.str()).size(), c.printed) << run.outText.str();
        const auto errors = linesOf(run.errText.str());
        ASSERT_EQ(errors.size(), c.errors.size()) << run.errText.str();
        for (std::size_t i = 0; i < errors.size(); ++i) {
            EXPECT_EQ(errors[i].find("paconsole: " + c.errors[i]), 0U) << errors[i];
        }
    }
}

TEST(Shell, helps) {
    skipPauses();
    const auto told = [](const char* line) {
        const ShellRun run({{line}});
        EXPECT_EQ(run.errText.str(), "");
        return run.outText.str();
    };
    const std::string all = told("help");
    EXPECT_TRUE(contains(all, "Leave the shell")) << all;
    EXPECT_FALSE(contains(all, "--scenario"));
    EXPECT_FALSE(contains(all, "\n  shell"));
    const std::string one = told("help zone members");
    EXPECT_TRUE(contains(one, "members [OPTIONS] ZONE")) << one;
    EXPECT_EQ(told("zone members --help"), one);
}

TEST(Shell, keepsASourceUntilItLeaves) {
    skipPauses();
    const ShellRun run({{"source attach 3"},
                        {"trigger create --source 2 --priority 50"},
                        {"status --format json"},
                        {"get trigger 1"}});
    EXPECT_EQ(run.code, ExitCode::NotFound);  // the number of two triggers
    const auto lines = linesOf(run.outText.str());
    ASSERT_EQ(lines.size(), 3U) << run.outText.str();
    const auto status = nlohmann::json::parse(lines[2]);
    EXPECT_EQ(status["lockedByThisClient"], nlohmann::json({3}));
    EXPECT_EQ(linesOf(run.errText.str()).back(), "paconsole: source 3 is released");
    EXPECT_TRUE(console::heldSources().empty());
    gPaController.deleteSwPaTrigger(1);
}

/// Has the server refuse something, and waits until everybody knows.
void provokeRefusal() {
    console::Changes changes;
    gPaController.cancelMessage("nothing of that name");
    const auto limit = std::chrono::seconds(10);
    std::optional<console::Change> change = changes.next(limit);
    while (change && change->kind != console::Change::Kind::Refusal) {
        change = changes.next(limit);
    }
    ASSERT_TRUE(change);
    const console::Changes subscribedAfterwards;
}

TEST(Shell, tellsWhatHappensBetweenItsCommands) {
    skipPauses();
    const auto lose = [] { EXPECT_TRUE(gPaController.detachPaSource(3)); };
    const ShellRun run({{"source attach 3"},
                        {"list announcements", provokeRefusal},
                        {"list announcements", lose},
                        {"list announcements"},
                        {"source attach 3"},
                        {"source detach 3"}});
    EXPECT_EQ(run.code, ExitCode::Done);
    const auto errors = linesOf(run.errText.str());
    ASSERT_EQ(errors.size(), 2U) << run.errText.str();
    EXPECT_TRUE(contains(errors[0], "nothing of that name")) << errors[0];
    EXPECT_EQ(errors[1], "paconsole: source 3 is no longer attached");
}

TEST(Shell, isUsedOnATerminal) {
    const TestFolder folder;
    Terminal terminal(folder, "0");
    if (!terminal.isThere()) {
        GTEST_SKIP() << "this machine has no pseudo terminals";
    }
    const std::string prompt = "paconsole> ";
    terminal.readUntil(prompt);
    terminal.type("get zone sub\t\n");
    EXPECT_TRUE(contains(terminal.readUntil("Healthy"), "Subway"));
    terminal.readUntil(prompt);
    terminal.type("get zone Caf\xC3\xA9 \xE9");
    EXPECT_FALSE(terminal.isAsUsual());
    terminal.readUntil("Caf\xC3\xA9");
    terminal.type("\x03");
    terminal.readUntil(prompt);
    terminal.type("play --zones Subway --items 12 --repeat 100000 --wait\n");
    terminal.readUntil("Playing");
    EXPECT_TRUE(terminal.isAsUsual());
    terminal.type("\x03");
    terminal.readUntil("interrupted; the outcome is unknown");
    terminal.readUntil(prompt);
    terminal.type("monitor\n");  // it can be interrupted again
    terminal.readUntil("monitor\r\n");
    terminal.type("\x03");
    terminal.readUntil("interrupted\r\n");
    terminal.readUntil(prompt);
    terminal.type("nonsense\n");
    terminal.readUntil("no command 'nonsense'");
    terminal.readUntil(prompt);
    terminal.type("\x04");
    EXPECT_EQ(terminal.exitCode(), 0);
    std::ostringstream history;
    history << std::ifstream(folder.path() / "paconsole/history").rdbuf();
    EXPECT_EQ(history.str(),
              "get zone Subway \n"
              "play --zones Subway --items 12 --repeat 100000 --wait\n"
              "monitor\n"
              "nonsense\n");
}

TEST(Shell, leavesTheTerminalInOrderWhenItIsEnded) {
    const TestFolder folder;
    Terminal terminal(folder, "1");
    if (!terminal.isThere()) {
        GTEST_SKIP() << "this machine has no pseudo terminals";
    }
    terminal.readUntil("paconsole> ");
    terminal.type("source attach 3\n");
    terminal.readUntil("this client");
    terminal.readUntil("paconsole> ");
    // What the log tells while a line is typed stands above it, and the line once more below.
    terminal.type("play --zones Subway --items 12\n");
    terminal.readUntil("paconsole> ");
    terminal.type("half a line");
    terminal.readUntil("\x1b[J");
    terminal.readUntil("paconsole> half a line");
    terminal.send(SIGTERM);
    terminal.readUntil("source 3 is released");
    EXPECT_TRUE(terminal.isAsUsual());
    EXPECT_EQ(terminal.exitCode(), 130);
}

}  // namespace
