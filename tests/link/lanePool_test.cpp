#include "link/LanePool.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <string>

#include "tests/support/noPauses.h"

namespace {

/// Sleepers wait here until the test lets them go on: no real time passes.
struct Gate {
    std::mutex lock;
    std::condition_variable changed;
    bool open = false;
    int sleeping = 0;

    void pass() {
        std::unique_lock guard(lock);
        ++sleeping;
        changed.notify_all();
        changed.wait(guard, [this] { return open; });
        --sleeping;
    }
    void waitForSleepers(int count) {
        std::unique_lock guard(lock);
        EXPECT_TRUE(
            changed.wait_for(guard, std::chrono::minutes(1), [&] { return sleeping >= count; }));
    }
    void letGo() {
        const std::lock_guard guard(lock);
        open = true;
        changed.notify_all();
    }
};

Gate* gate = nullptr;

struct LanePoolTest : testing::Test {
    LanePoolTest() {
        gate = &theGate;
        skipPauses([](int) { gate->pass(); });
    }
    ~LanePoolTest() override { setTimeSource({}); }

    void note(const std::string& text) {
        const std::lock_guard guard(lock);
        notes += text + " ";
    }
    std::string noted() {
        const std::lock_guard guard(lock);
        return notes;
    }
    /// A job that notes its start, pauses, and notes its end.
    palink::LanePool::Job pausing(const std::string& name) {
        return [this, name] {
            note(name);
            sleepMS(100);
            note(name + "'");
        };
    }

    Gate theGate;
    std::mutex lock;
    std::string notes;
};

TEST_F(LanePoolTest, OverlapsPausesUpToItsLimitAndStartsInOrderOfArrival) {
    constexpr int most = palink::LanePool::mostThreads;
    palink::LanePool pool;
    std::string started;
    for (int i = 0; i < most + 50; ++i) {
        pool.submit(1, i, pausing(std::to_string(i)));
        started += i < most ? std::to_string(i) + " " : "";
    }
    theGate.waitForSleepers(most);
    EXPECT_EQ(noted(), started);
    EXPECT_EQ(pool.threads(), palink::LanePool::mostThreads);
    theGate.letGo();
    pool.waitUntilIdle();
    EXPECT_EQ(std::count(notes.begin(), notes.end(), '\''), most + 50);
}

TEST_F(LanePoolTest, RunsTheSameKeyOneAfterTheOtherAndKeepsTheOrderOfTheLane) {
    palink::LanePool pool;
    pool.submit(1, 7, pausing("a7"));
    pool.submit(1, 8, pausing("b8"));
    pool.submit(1, 7, [this] { note("c7"); });
    pool.submit(1, 9, [this] { note("d9"); });
    pool.submit(2, 7, pausing("other"));
    theGate.waitForSleepers(3);
    EXPECT_EQ(noted().find("c7"), std::string::npos);
    EXPECT_EQ(noted().find("d9"), std::string::npos);
    theGate.letGo();
    pool.waitUntilIdle();
    const std::string all = noted();
    EXPECT_LT(all.find("a7 "), all.find("b8 "));
    EXPECT_LT(all.find("a7'"), all.find("c7"));
    EXPECT_LT(all.find("c7"), all.find("d9"));
}

}  // namespace
