// SPDX-License-Identifier: Apache-2.0
#include "console/Output.h"

#include <cerrno>
#include <streambuf>

#include "console/following/LiveView.h"
#include "console/following/operate.h"
#include "console/text/TextTable.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

using Texts = std::vector<std::string>;

constexpr int terminalOf80 = 10000;  // no descriptor has this number: the size is unknown

/// Takes nothing.
class ClosedOutput : public std::streambuf {
public:
    explicit ClosedOutput(int error) : error_(error) {}

private:
    int overflow(int /*byte*/) override {
        errno = error_;
        return traits_type::eof();
    }

    const int error_;
};

TEST(Output, thatIsClosedEndsTheCommand) {
    for (const Texts& words : {Texts{"list", "zones"}, Texts{"--help"}, Texts{"demo"},
                               Texts{"--speed", "500", "monitor"}}) {
        for (const int error : {ENOSPC, EPIPE}) {
            ClosedOutput closed(error);
            std::ostream out(&closed);
            std::ostringstream err;
            EXPECT_EQ(console::run(words, {out, err}), 1);
            EXPECT_EQ(err.str(), error == EPIPE ? "" : "paconsole: the output cannot be written\n");
        }
    }
}

TEST(Output, thatIsClosedEndsTheScriptOfAMonitor) {
    const TestFolder folder;
    const auto script =
        folder.write("script", "play --zones Subway --items 12 --repeat 1000000 --wait");
    ClosedOutput closed(EPIPE);
    std::ostream out(&closed);
    std::ostringstream err;
    EXPECT_EQ(console::run({"monitor", "--script", script}, {out, err}), 1);
    EXPECT_FALSE(contains(err.str(), "script")) << err.str();
}

TEST(Output, keepsDiagnosticsWhileALineIsTyped) {
    std::ostringstream text;
    console::Output diagnostics(text);
    diagnostics.hold();
    diagnostics.diagnostic("one");
    EXPECT_EQ(diagnostics.takeHeld(), "paconsole: one\n");
    diagnostics.diagnostic("two");
    EXPECT_EQ(text.str(), "");
    diagnostics.release();
    EXPECT_EQ(text.str(), "paconsole: two\n");
}

TEST(LiveView, staysWithinTheTerminalAndReturnsTheCursor) {
    std::ostringstream text;
    console::Output out(text);
    const auto drawn = [&text] {
        std::string result = text.str();
        text.str("");
        return result;
    };
    {
        console::LiveView view(out);
        EXPECT_EQ(drawn(), "\x1b[?25l");

        view.draw({"Platform 1 is busy", "駅駅駅駅駅", "3", "4"}, {10, 4});
        EXPECT_EQ(drawn(), "\rPlatform\x1b[K\n駅駅駅駅\x1b[K\n3\x1b[K\n\x1b[J");
        view.draw({"one"}, {10, 4});
        EXPECT_EQ(drawn(), "\r\x1b[3Aone\x1b[K\n\x1b[J");

        view.draw({"one"}, {3, 4});
        EXPECT_EQ(drawn(), "\x1b[H\x1b[2Jon\x1b[K\n\x1b[J");
        view.draw({"one"}, {3, 1});
        EXPECT_EQ(drawn(), "\r\x1b[J");
    }
    EXPECT_EQ(drawn(), "\x1b[?25h");
}

TEST(TextTable, cutsTheWidestCellsToTheTerminal) {
    console::TextTable table({"ID", "LABEL", "ZONES"});
    table.addRow({"1", "Deputy's microphone", "Concourse, Platform 1"});
    table.addRow({"12", "Desk", ""});
    EXPECT_EQ(table.text(),
              "ID  LABEL                ZONES\n"
              "1   Deputy's microphone  Concourse, Platform 1\n"
              "12  Desk\n");
    EXPECT_EQ(table.text(30),
              "ID  LABEL         ZONES\n"
              "1   Deputy's mi…  Concourse, …\n"
              "12  Desk\n");
    // Headings and numbers are never cut.
    table.addRow({"123", "Desk", "2026-12-01 06:00"});
    EXPECT_EQ(table.lines(5)[1], "1    Depu…  Concourse, Plat…");
    EXPECT_EQ(table.lines(5)[3], "123  Desk   2026-12-01 06:00");
}

TEST(Progress, showsFromTheFirstSecondOnAndGivesWayToLines) {
    using std::chrono::milliseconds;
    std::ostringstream text;
    console::Output diagnostics(text, nullptr, terminalOf80);
    std::ostringstream data;
    console::Output out(data, &diagnostics);
    {
        const auto progress = console::shownWait(diagnostics, "for the server", 10).whileWaiting;
        progress(milliseconds(999));
        EXPECT_EQ(text.str(), "");
        progress(milliseconds(1000));
        progress(milliseconds(1999));
        const std::string first = "waiting for the server: 1 s";
        EXPECT_EQ(text.str(), first);
        out.write("a line\n");
        EXPECT_EQ(text.str(), first + "\r\x1b[K");
        text.str("");
        progress(milliseconds(2000));
        diagnostics.diagnostic("trouble");
        progress(milliseconds(3000));
    }
    EXPECT_EQ(text.str(),
              "waiting for the server: 2 s\r\x1b[Kpaconsole: trouble\n"
              "waiting for the server: 3 s\r\x1b[K");
    // It is removed from one line only.
    text.str("");
    diagnostics.status(std::string(80, 'x'));
    EXPECT_EQ(text.str(), std::string(78, 'x') + "…");
}

TEST(Progress, isThatOfAnOperation) {
    std::ostringstream text;
    console::Output diagnostics(text, nullptr, terminalOf80);
    const console::Settings settings;
    console::Session session(settings, diagnostics);
    const console::Context context{settings, diagnostics, diagnostics, -1, session};
    console::operate(context, "the gain is set", [](const paclient::Wait& wait) {
        wait.whileWaiting(std::chrono::milliseconds(1000));
        return paclient::Confirmation{};
    });
    EXPECT_EQ(text.str(), "waiting until the gain is set: 1 s\r\x1b[K");
}

}  // namespace
