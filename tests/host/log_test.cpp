#include "framework/log.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "framework/clock.h"

namespace {

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
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "1970-01-01T00:16:40Z debug 1 [" + last.thread + "] to stderr\n");
}

TEST_F(LogTest, ABurstOfIdenticalErrorsIsToldOnceAndCounted) {
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

TEST_F(LogTest, WhatIsSuppressedIsToldAtTheEndAndAfterTheClockWasSetBack) {
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

}  // namespace
