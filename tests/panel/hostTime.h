// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <gtest/gtest.h>

#include "framework/clock.h"

/// A test with the host's clocks in its hand.
struct HostTimeTest : testing::Test {
    HostTimeTest() {
        ms = 1'000'000'000'000;  // 2001-09-09T01:46:40Z
        pa::setTimeSource({[] { return static_cast<std::time_t>(ms / 1000); },
                           [] { return ms.load(); }, [](int) {}});
    }
    ~HostTimeTest() override { pa::setTimeSource({}); }

    static void pass(std::chrono::milliseconds time) { ms += time.count(); }

    static inline std::atomic<std::int64_t> ms;
};
