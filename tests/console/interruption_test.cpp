// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <streambuf>
#include <unistd.h>

#include "client/ChangeStream.h"
#include "console/Output.h"
#include "console/interrupt.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

namespace interrupt = console::interrupt;

TEST(Interruption, isTheSameSignalAgainWithinAMoment) {
    EXPECT_FALSE(interrupt::endsAtOnce(-1, 5000));
    EXPECT_FALSE(interrupt::endsAtOnce(5000, 5100));
    EXPECT_TRUE(interrupt::endsAtOnce(5000, 5101));
}

TEST(Interruption, isTheReasonOfAWriteThatFailsAfterIt) {
    struct NoOutput : std::streambuf {};  // takes nothing
    NoOutput nothing;
    std::ostream stream(&nothing);
    console::Output out(stream);
    interrupt::install();
    std::raise(SIGINT);
    try {
        out.write("x");
        ADD_FAILURE();
    } catch (const console::Failure& failure) {
        EXPECT_EQ(failure.code, console::ExitCode::Interrupted);
    }
    interrupt::rearm();
}

TEST(Interruption, leavesARequestAndReportsIt) {
    const TestFolder folder;
    const std::string line =
        "play --zones Concourse --items 12 --repeat 1000000 --request-id request-1 --wait";
    interrupt::install();
    const paclient::Listener interrupter(
        paclient::kinds<paclient::Updated<AnnouncementRequest>>(),
        [](const paclient::ChangePtr&) { kill(getpid(), SIGINT); });
    const Ran ran = runConsole({"--script", folder.write("script", line)});
    interrupt::rearm();
    EXPECT_EQ(ran.code, 130);
    EXPECT_TRUE(contains(ran.err, "interrupted; request request-1 ends with this command"))
        << ran.err;
}

TEST(InterruptionDeathTest, endsACommandCleanly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            interrupt::install();
            std::raise(SIGTERM);
            std::raise(SIGINT);  // Ctrl-C does not replace what ends the process
            std::exit(interrupt::rearm() ? 0 : console::run({"monitor"}, {std::cout, std::cerr}));
        },
        testing::ExitedWithCode(130), "^paconsole: interrupted\n$");
}

// Without the program's guards what the closed descriptors stand for then is one of its own files,
// which it would wait for, or write to.
TEST(StandardDescriptors, mayBeClosed) {
    const std::string program = "timeout 60 " PA_CONSOLE_PROGRAM;
    EXPECT_EQ(std::system((program + " --script - <&-").c_str()), 0);
    EXPECT_EQ(WEXITSTATUS(std::system((program + " status >&- 2>&-").c_str())), 1);
}

}  // namespace
