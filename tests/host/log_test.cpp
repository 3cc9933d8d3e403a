#include "framework/log.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <pthread.h>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "framework/clock.h"
#include "framework/posixThread.h"

namespace {

constexpr std::chrono::minutes enough{1};

std::time_t now = 0;

struct LogTest : testing::Test {
    LogTest() {
        pa::flushSuppressedErrors();
        now = 1000;
        pa::TimeSource source;
        source.wallClock = [] { return now; };
        pa::setTimeSource(source);
        pa::setLogSink([this](const pa::LogLine& line) {
            texts.push_back((line.kind == pa::LogLine::Kind::Error ? "E" : "D") +
                            std::to_string(line.level) + " " + line.text);
            last = line;
        });
    }
    ~LogTest() override {
        pa::flushSuppressedErrors();
        pa::setLogSink({});
        pa::setTimeSource({});
    }

    std::vector<std::string> texts;
    pa::LogLine last;
};

using Texts = std::vector<std::string>;

TEST_F(LogTest, EachLineHasItsLevelAndTime) {
    debug(2, "%s: sinkId >%d<", "f", 5);
    handleError(3, "%s: bad", "f");
    EXPECT_EQ(texts, (Texts{"D2 f: sinkId >5<", "E3 f: bad"}));
    EXPECT_EQ(last.time, 1000);
    EXPECT_NE(last.thread.find('/'), std::string::npos);
    pa::setLogSink({});
    testing::internal::CaptureStderr();
    debug(1, "to stderr");
    pa::flushLog(enough);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "1970-01-01T00:16:40Z debug 1 [" + last.thread + "] to stderr\n");
}

TEST_F(LogTest, ABurstOfIdenticalErrorsIsWrittenOnceAndCounted) {
    for (int i = 0; i < 1000; ++i) {
        handleError(3, "bad record");
        handleError(3, "another %d", 1);
    }
    handleError(2, "bad record");
    handleError(2, "bad record");
    EXPECT_EQ(texts, (Texts{"E3 bad record", "E3 another 1", "E2 bad record", "E2 bad record"}));
    now += 9;
    handleError(3, "bad record");
    EXPECT_EQ(texts.size(), 4U);
    now += 1;
    texts.clear();
    debug(1, "later");
    EXPECT_EQ(texts, (Texts{"E3 suppressed 999 more of: another 1",
                            "E3 suppressed 1000 more of: bad record", "D1 later"}));
    handleError(3, "bad record");
    EXPECT_EQ(texts.back(), "E3 bad record");
}

TEST_F(LogTest, SuppressedErrorsAreCountedAtTheEndAndAfterTheClockWasSetBack) {
    handleError(3, "bad");
    handleError(3, "bad");
    pa::flushSuppressedErrors();
    EXPECT_EQ(texts, (Texts{"E3 bad", "E3 suppressed 1 more of: bad"}));
    handleError(3, "bad");
    now -= 500;
    handleError(3, "bad");
    EXPECT_EQ(texts.size(), 4U);
}

TEST_F(LogTest, ManyDifferentErrorsMakeNoRoomForABurst) {
    for (int key = 0; key < 200; ++key) {
        handleError(3, "bad key %d", key);
    }
    for (int i = 0; i < 100; ++i) {
        handleError(3, "bad key 199");
        handleError(3, "late");
    }
    EXPECT_EQ(texts.size(), 201U);
}

TEST_F(LogTest, ALongTextIsCutAndALineCannotBeForged) {
    handleError(1, "%s", std::string(1'000'000, 'x').c_str());
    EXPECT_EQ(texts.at(0), "E1 " + std::string(2000, 'x') + "...");
    const pa::LogLine line{pa::LogLine::Kind::Error, 3, 86399, "worker/7",
                           "a\nb\x1b[2J\x7f\xc3\xa9"};
    EXPECT_EQ(pa::formatLogLine(line),
              "1970-01-01T23:59:59Z error 3 [worker/7] a\\x0ab\\x1b[2J\\x7f\xc3\xa9");
}

TEST_F(LogTest, ASinkThatThrowsHurtsNobodyAndTheLineGoesToStderr) {
    pa::setLogSink([](const pa::LogLine&) { throw 1; });
    testing::internal::CaptureStderr();
    handleError(1, "x");
    debug(1, "y");
    pa::setLogSink([this](const pa::LogLine& line) { texts.push_back(line.text); });
    debug(1, "z");
    pa::flushLog(enough);
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_NE(written.find("] x\n"), std::string::npos) << written;
    EXPECT_NE(written.find("] y\n"), std::string::npos) << written;
    EXPECT_EQ(texts, (Texts{"z"}));
}

TEST(LogDeathTest, ASinkThatThrowsAtTheExitHurtsNobody) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        pa::setLogSink([](const pa::LogLine&) { throw 1; });
        handleError(3, "bad");
        handleError(3, "bad");
        std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "suppressed 1 more of: bad");
}

/// Sends lines to the default sink, and stderr into a pipe.
struct StderrTest : testing::Test {
    StderrTest() {
        pa::setLogSink({});
        pa::flushLog(enough);
        usePipe(0);
    }
    ~StderrTest() override {
        dup2(before_, STDERR_FILENO);
        close(before_);
    }

    void usePipe(int flags) {
        dup2(before_, STDERR_FILENO);  // closes an earlier pipe
        int ends[2];
        ASSERT_EQ(pipe2(ends, flags), 0);
        readEnd = ends[0];
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
    }

    /// Reads to the end of the pipe while `meanwhile` runs and stderr is redirected.
    /// @return the texts of the lines
    Texts read(const std::function<void()>& meanwhile) {
        std::string all;
        {
            pa::PosixThread reader("reader", [&] {
                std::array<char, 4096> buffer{};
                for (ssize_t n = 0; (n = ::read(readEnd, buffer.data(), buffer.size())) != 0;) {
                    all.append(buffer.data(), n > 0 ? static_cast<std::size_t>(n) : 0);
                }
            });
            meanwhile();
            EXPECT_TRUE(pa::flushLog(enough));
            dup2(before_, STDERR_FILENO);
        }
        close(readEnd);
        Texts lines;
        std::istringstream stream(all);
        for (std::string line; std::getline(stream, line);) {
            const std::size_t begin = line.find("] ");
            lines.push_back(begin == std::string::npos ? line : line.substr(begin + 2));
        }
        return lines;
    }

    int readEnd = -1;

private:
    const int before_ = dup(STDERR_FILENO);
};

TEST_F(StderrTest, APipeThatNobodyReadsHoldsUpNobodyAndWhatIsDroppedIsCounted) {
    constexpr int logged = 40'000;  // more than the pipe and the queue hold
    for (int i = 0; i < logged; ++i) {
        handleError(1, "%d", i);
    }
    const Texts lines = read([] {
        EXPECT_TRUE(pa::flushLog(enough));
        handleError(1, "later");
    });
    ASSERT_GE(lines.size(), 2U);
    const std::size_t kept = lines.size() - 2;
    EXPECT_GT(kept, 5'000U);
    EXPECT_LT(kept, std::size_t{logged});
    for (std::size_t i = 0; i < kept; ++i) {
        ASSERT_EQ(lines[i], std::to_string(i));
    }
    EXPECT_EQ(lines[kept], std::to_string(logged - kept) +
                               " log lines were dropped: stderr did not take them in time");
    EXPECT_EQ(lines[kept + 1], "later");
}

TEST_F(StderrTest, APipeThatDoesNotBlockTakesEveryLineInPieces) {
    close(readEnd);
    usePipe(O_NONBLOCK);
    const std::string wide(1900, '\x01');  // four times as long when it is written
    for (int i = 0; i < 100; ++i) {
        handleError(1, "%d%s", i, wide.c_str());
    }
    const Texts lines = read([] {});
    ASSERT_EQ(lines.size(), 100U);
    std::string written;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        written += "\\x01";
    }
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(lines[static_cast<std::size_t>(i)], std::to_string(i) + written);
    }
}

TEST_F(StderrTest, WhatABrokenOrClosedStderrRefusesIsCounted) {
    close(readEnd);
    handleError(1, "into a pipe without a reader");
    EXPECT_TRUE(pa::flushLog(enough));
    close(STDERR_FILENO);
    handleError(1, "into nothing");
    EXPECT_TRUE(pa::flushLog(enough));
    usePipe(0);
    EXPECT_EQ(read([] { handleError(1, "into a pipe"); }),
              (Texts{"into a pipe", "2 log lines were dropped: stderr did not take them in time"}));
}

TEST_F(StderrTest, LinesKeepTheirOrderWhenTheSinkIsReplaced) {
    EXPECT_EQ(read([] {
                  for (const char* text : {"a", "b", "c", "d"}) {
                      debug(1, "%s by default", text);
                      pa::setLogSink([](const pa::LogLine& line) {
                          const std::string out = line.text + "\n";
                          EXPECT_GT(write(STDERR_FILENO, out.data(), out.size()), 0);
                      });
                      debug(1, "%s by a sink", text);
                      pa::setLogSink({});
                  }
              }),
              (Texts{"a by default", "a by a sink", "b by default", "b by a sink", "c by default",
                     "c by a sink", "d by default", "d by a sink"}));
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

TEST(LogDeathTest, TheExitOfTheProcessWritesWhatWaits) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        loggingStatic.enabled = true;
        for (int i = 0; i < 3000; ++i) {
            handleError(1, "line %d", i);
        }
        std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "line 2998\n.*line 2999\n.*the last line\n");
}

TEST(LogDeathTest, LinesWaitUntilAThreadCanBeCreated) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        pthread_attr_t usual;
        pthread_attr_t impossible;  // a stack as large as the address space
        pthread_getattr_default_np(&usual);
        pthread_attr_init(&impossible);
        pthread_attr_setstacksize(&impossible, std::numeric_limits<std::size_t>::max() / 8 * 7);
        pthread_setattr_default_np(&impossible);
        try {
            pa::PosixThread thread("thread", [] {});
            std::exit(1);
        } catch (const std::system_error&) {
            handleError(1, "short of threads");
        }
        pthread_setattr_default_np(&usual);
        std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "short of threads");
}

TEST(LogDeathTest, AProcessWhoseStderrNobodyReadsEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
            std::exit(1);
        }
        for (int i = 0; i < 40'000; ++i) {
            handleError(1, "%d", i);
        }
        pa::TimeSource source;  // the limit of the wait passes at once
        source.monotonicMS = [] {
            static std::atomic<std::int64_t> time{0};
            return time += 1000;
        };
        pa::setTimeSource(source);
        std::exit(3);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(3), "");
}

}  // namespace
