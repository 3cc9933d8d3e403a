#include "link/Notifier.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "framework/clock.h"
#include "tests/support/noPauses.h"

namespace {

using namespace std::chrono_literals;
using palink::Notifier;

std::atomic<std::int64_t> nowMS{0};

/// The clock moves only by what the notifier sleeps.
struct NotifierTest : testing::Test {
    NotifierTest() {
        nowMS = 1000;
        pa::TimeSource source = withoutPauses([](int ms) { nowMS += ms; });
        source.monotonicMS = [] { return nowMS.load(); };
        pa::setTimeSource(source);
    }
    ~NotifierTest() override { pa::setTimeSource({}); }

    void note(const std::string& text) {
        const std::lock_guard guard(lock);
        notes += text + "@" + std::to_string(nowMS) + " ";
    }
    Notifier::Step step(int key, std::int64_t due, const std::string& name, bool holds = false) {
        return {2, key, due, holds, [this, name] { note(name); }};
    }

    std::mutex lock;
    std::string notes;
    Notifier notifier;
};

TEST_F(NotifierTest, RunsWhatIsDueInOrder) {
    notifier.add(step(1, 1100, "a"));
    notifier.add(step(1, 0, "b"));
    notifier.add(step(2, 1150, "c"));
    notifier.add(step(3, 1120, "d"));
    EXPECT_TRUE(notifier.waitUntilIdle());
    EXPECT_EQ(notes, "a@1100 b@1100 c@1150 d@1150 ");
}

TEST_F(NotifierTest, WaitsNoLongerThanAPauseShouldTheClockJump) {
    notifier.add(step(1, 1'000'000, "a"));
    EXPECT_TRUE(notifier.waitUntilIdle());
    EXPECT_EQ(notes, "a@" + std::to_string(1000 + Notifier::longestWaitMS) + " ");
}

/// A step that has begun and does not continue until the gate is open.
struct Gate {
    void pass() {
        entered = true;
        waitUntil(open);
        left = true;
    }
    static void waitUntil(const std::atomic<bool>& flag) {
        while (!flag) {
            std::this_thread::yield();
        }
    }
    std::atomic<bool> entered{false};
    std::atomic<bool> open{false};
    std::atomic<bool> left{false};
};

/// The step may last longer than the test.
Notifier::Step stepThrough(const std::shared_ptr<Gate>& gate) {
    return {7, 7, 0, false, [gate] { gate->pass(); }};
}

TEST_F(NotifierTest, KnowsWhatWaitsForAKeyUntilItHasRun) {
    const auto gate = std::make_shared<Gate>();
    notifier.add(stepThrough(gate));
    notifier.add(step(1, 0, "a"));
    notifier.add(step(2, 0, "b", true));
    EXPECT_TRUE(notifier.concerns(7, 7)) << "it may be running";
    EXPECT_TRUE(notifier.concerns(2, 1));
    EXPECT_FALSE(notifier.isHeld(2, 1));
    EXPECT_TRUE(notifier.isHeld(2, 2));
    EXPECT_FALSE(notifier.concerns(2, 3) || notifier.concerns(3, 1));
    const auto next = std::make_shared<Gate>();
    notifier.add({2, 2, 0, false, [next] { next->pass(); }});
    gate->open = true;
    next->waitUntil(next->entered);
    EXPECT_TRUE(notifier.concerns(2, 2));
    EXPECT_FALSE(notifier.isHeld(2, 2)) << "the step that holds it has run";
    next->open = true;
    EXPECT_TRUE(notifier.waitUntilIdle());
    EXPECT_FALSE(notifier.concerns(7, 7) || notifier.concerns(2, 1) || notifier.isHeld(2, 2));
}

TEST_F(NotifierTest, HoldsThreadsBackUntilThereIsSpace) {
    const auto gate = std::make_shared<Gate>();
    notifier.add(stepThrough(gate));
    gate->waitUntil(gate->entered);
    for (std::size_t i = 0; i < Notifier::capacity; ++i) {
        EXPECT_TRUE(notifier.waitForSpace());
        notifier.add({2, 1, 0, false, [] {}});
    }
    std::atomic<int> roomFound{-1};
    std::thread waiting([&] { roomFound = notifier.waitForSpace() ? 1 : 0; });
    for (int i = 0; i < 1000; ++i) {
        std::this_thread::yield();
    }
    EXPECT_EQ(roomFound, -1);
    gate->open = true;
    waiting.join();
    EXPECT_EQ(roomFound, 1);
    EXPECT_TRUE(notifier.waitUntilIdle());

    const auto again = std::make_shared<Gate>();
    notifier.add(stepThrough(again));
    again->waitUntil(again->entered);
    notifier.add({2, 1, 0, false, [] {}, Notifier::capacity * Notifier::stepBytes});
    std::atomic<bool> idle{true};
    std::thread other([&] { idle = notifier.waitUntilIdle(); });
    notifier.releaseWaiters();
    other.join();
    EXPECT_FALSE(idle);
    EXPECT_FALSE(notifier.waitForSpace()) << "one step that holds as much takes all the space";
    again->open = true;
}

TEST_F(NotifierTest, EndsWithoutWaitingForAStepThatDoesNot) {
    const auto gate = std::make_shared<Gate>();
    {
        Notifier shortLived;
        shortLived.add(stepThrough(gate));
        gate->waitUntil(gate->entered);
        shortLived.add(step(1, 0, "dropped"));
        shortLived.add(step(1, 0, "dropped"));
        EXPECT_EQ(shortLived.end(0ms), 2U);
        shortLived.begin();
        shortLived.add(step(1, 0, "next round"));
        gate->open = true;
        EXPECT_TRUE(shortLived.waitUntilIdle());
        EXPECT_TRUE(gate->left) << "the step of the round before";
        EXPECT_EQ(notes, "next round@1000 ");
        notes.clear();
    }
    const auto last = std::make_shared<Gate>();
    {
        Notifier ended;
        ended.add(stepThrough(last));
        last->waitUntil(last->entered);
        ended.add(step(1, 0, "dropped"));
    }
    last->open = true;
    last->waitUntil(last->left);
    EXPECT_EQ(notes, "");
}

}  // namespace
