// SPDX-License-Identifier: Apache-2.0
#include <fstream>

#include "tests/console/Terminal.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

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
    terminal.type("list sinks\n");
    terminal.readUntil("…");  // cut to the terminal
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
    terminal.readUntil(" plays on, 'cancel ");
    terminal.readUntil(prompt);
    terminal.type("monitor\n");  // it can be interrupted again
    terminal.readUntil("watching ");
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
              "list sinks\n"
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
    // A line of the log appears above the line that is typed.
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
