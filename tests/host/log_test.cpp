// SPDX-License-Identifier: Apache-2.0
#include "framework/log.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <pthread.h>
#include <regex>
#include <string>
#include <unistd.h>

#include "framework/posixThread.h"
#include "tests/host/HostTest.h"

namespace {

constexpr std::chrono::minutes enough{1};

using LogTest = HostTest;

TEST_F(LogTest, EachLineHasItsLevelTimeAndThreadAndCannotBeForged) {
    debug(2, "%s: sinkId >%d<", "f", 5);
    handleError(1, "%s", std::string(1'000'000, 'x').c_str());
    EXPECT_EQ(log.text(), "D2 f: sinkId >5<\nE1 " + std::string(2000, 'x') + "...\n");

    pa::setLogSink({});
    testing::internal::CaptureStderr();
    nowMS = 1'000'000;
    handleError(3, "%s", "a\nb\x1b[2J\x7f\xc3\xa9");
    pa::flushLog(enough);
    EXPECT_EQ(std::regex_replace(testing::internal::GetCapturedStderr(), std::regex("/[0-9]+"), ""),
              "1970-01-01T00:16:40Z error 3 [host_tests] a\\x0ab\\x1b[2J\\x7f\xc3\xa9\n");
}

TEST_F(LogTest, ABurstOfIdenticalErrorsIsWrittenOnceAndCounted) {
    for (int i = 0; i < 1000; ++i) {
        handleError(3, "bad record");
        handleError(3, "another %d", 1);
    }
    handleError(2, "bad record");
    handleError(2, "bad record");
    EXPECT_EQ(log.take(), "E3 bad record\nE3 another 1\nE2 bad record\nE2 bad record\n");
    nowMS += 9'000;
    handleError(3, "bad record");
    EXPECT_EQ(log.take(), "");
    nowMS += 1'000;
    debug(1, "later");
    EXPECT_EQ(log.take(),
              "E3 suppressed 999 more of: another 1\n"
              "E3 suppressed 1000 more of: bad record\nD1 later\n");
    handleError(3, "bad record");
    handleError(3, "bad record");
    EXPECT_EQ(log.take(), "E3 bad record\n");
    nowMS -= 500'000;  // the clock is set back
    handleError(3, "bad record");
    EXPECT_EQ(log.take(), "E3 suppressed 1 more of: bad record\nE3 bad record\n");

    for (int key = 0; key < 200; ++key) {  // more than are remembered
        handleError(3, "bad key %d", key);
    }
    log.take();
    handleError(3, "bad key 199");
    EXPECT_EQ(log.text(), "");
}

constexpr int tooMany = 1000;  // lines: more than a pipe and the queue hold

/// Each is longer than what a pipe takes in one piece.
void logTooMany() {
    const std::string wide(1900, '\x01');  // four times as long when it is written
    for (int i = 0; i < tooMany; ++i) {
        handleError(1, "%d%s", i, wide.c_str());
    }
}

TEST_F(LogTest, APipeThatIsNotReadHoldsUpNoThreadAndWhatIsDroppedIsCounted) {
    pa::setLogSink({});
    for (const int flags : {0, O_NONBLOCK}) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, flags), 0);
        const int before = dup(STDERR_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
        logTooMany();
        std::string all;
        {
            pa::PosixThread reader("reader", [&] {
                std::array<char, 4096> buffer{};
                for (ssize_t n = 0; (n = read(ends[0], buffer.data(), buffer.size())) != 0;) {
                    all.append(buffer.data(), n > 0 ? static_cast<std::size_t>(n) : 0);
                }
            });
            EXPECT_TRUE(pa::flushLog(enough));
            handleError(1, "later");
            EXPECT_TRUE(pa::flushLog(enough));
            dup2(before, STDERR_FILENO);  // closes the pipe
        }
        close(before);
        close(ends[0]);
        const std::string wide =
            std::regex_replace(std::string(1900, 'x'), std::regex("x"), "\\x01");
        int kept = 0;
        std::size_t at = 0;
        const auto finds = [&](const std::string& text) {
            const std::size_t found = all.find("] " + text + "\n", at);
            at = found == std::string::npos ? at : found;
            return found != std::string::npos;
        };
        while (finds(std::to_string(kept) + wide)) {
            ++kept;
        }
        EXPECT_GT(kept, 100);
        EXPECT_TRUE(finds(std::to_string(tooMany - kept) +
                          " log lines were dropped: stderr did not take them in time"));
        EXPECT_TRUE(finds("later"));
        EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), kept + 2);
    }
}

/// The texts of the lines on stderr since it is captured.
std::string captured() {
    EXPECT_TRUE(pa::flushLog(enough));
    return std::regex_replace(testing::internal::GetCapturedStderr(), std::regex("[^\n]*\\] "), "");
}

TEST_F(LogTest, WhatABrokenOrClosedStderrRefusesIsCounted) {
    pa::setLogSink({});
    const int before = dup(STDERR_FILENO);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    dup2(ends[1], STDERR_FILENO);
    handleError(1, "into a pipe without a reader");
    EXPECT_TRUE(pa::flushLog(enough));
    close(ends[1]);
    close(STDERR_FILENO);
    handleError(1, "into nothing");
    EXPECT_TRUE(pa::flushLog(enough));
    dup2(before, STDERR_FILENO);
    close(before);
    testing::internal::CaptureStderr();
    handleError(1, "later");
    EXPECT_EQ(captured(), "later\n2 log lines were dropped: stderr did not take them in time\n");
}

TEST_F(LogTest, LinesKeepTheirOrderWhenTheSinkIsReplaced) {
    testing::internal::CaptureStderr();
    std::string logged;
    for (const char* const text : {"a", "b", "c"}) {
        pa::setLogSink({});
        for (int i = 0; i < 200; ++i) {
            debug(1, "%s by default", text);
            logged += text + std::string(" by default\n");
        }
        pa::setLogSink([](const pa::LogLine& line) {
            EXPECT_GT(write(STDERR_FILENO, line.text.data(), line.text.size()), 0);
        });
        debug(1, "%s by a sink\n", text);
        logged += text + std::string(" by a sink\n");
    }
    EXPECT_EQ(captured(), logged);
}

/// Logs from the destructor of a static object, which is as late as an application can.
struct LoggingStatic {
    ~LoggingStatic() {
        if (enabled) {
            handleError(1, "the last line");
        }
    }
    bool enabled = false;
};
LoggingStatic loggingStatic;

void setStackSize(std::size_t bytes) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    pthread_setattr_default_np(&attributes);
}

TEST(LogDeathTest, TheExitOfTheProcessWritesWhatWaitsThoughTheSinkThrows) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        loggingStatic.enabled = true;
        setStackSize(std::numeric_limits<std::size_t>::max() / 8 * 7);
        handleError(1, "no thread can be created");
        setStackSize(std::size_t{1} << 20U);
        for (int i = 0; i < 3000; ++i) {
            handleError(1, "line %d", i);
        }
        pa::setLogSink([](const pa::LogLine&) { throw 1; });
        handleError(3, "bad");
        handleError(3, "bad");
        std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0),
                "no thread can be created\n.*line 0\n(.*line [0-9]+\n)+.* bad\n"
                ".*suppressed 1 more of: bad\n.*the last line\n");
}

TEST(LogDeathTest, AProcessWhoseStderrIsNotReadEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        int ends[2];
        static_cast<void>(pipe(ends));
        dup2(ends[1], STDERR_FILENO);
        logTooMany();
        pa::TimeSource source;  // the limit of the wait passes at once
        source.monotonicMS = [] { return HostTest::nowMS += 1000; };
        pa::setTimeSource(source);
        std::exit(3);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(3), "");
}

}  // namespace
