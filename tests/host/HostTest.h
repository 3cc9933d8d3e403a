// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "framework/clock.h"
#include "framework/log.h"
#include "tests/host/Transcript.h"

/// Lets other threads run until the condition holds.
template <class Condition>
void until(Condition condition) {
    while (!condition()) {
        std::this_thread::yield();
    }
}

/// A test with a clock and a log of its own. Time passes only where the test or a pause lets it.
struct HostTest : testing::Test {
    HostTest() {
        perLookMS = 0;
        timePasses = true;
        pa::flushSuppressedErrors();
        pa::TimeSource source;
        source.wallClock = [] { return static_cast<std::time_t>(nowMS / 1000); };
        source.monotonicMS = [] { return nowMS += perLookMS; };
        source.sleepMS = pause;
        pa::setTimeSource(source);
        pa::setLogSink([this](const pa::LogLine& line) {
            const bool isError = line.kind == pa::LogLine::Kind::Error;
            log.add((isError ? "E" : "D") + std::to_string(line.level) + " " + line.text + "\n");
        });
    }
    ~HostTest() override {
        pa::flushSuppressedErrors();
        pa::setLogSink({});
        pa::setTimeSource({});
    }

    /// A pause is over at once, unless the test holds time. The sleep of the controller's worker
    /// stays: no test waits for that thread.
    static void pause(int ms) {
        if (ms <= 1000) {
            until([] { return timePasses.load(); });
            nowMS += ms;
        } else {
            const timespec duration{ms / 1000, 0};
            nanosleep(&duration, nullptr);
        }
    }

    static inline std::atomic<std::int64_t> nowMS{1'000'000};
    static inline std::atomic<std::int64_t> perLookMS{0};  // passes whenever it is looked at
    static inline std::atomic<bool> timePasses{true};      // else a pause does not end

    Transcript log;  // a line for each, as in "E3 text"
};
