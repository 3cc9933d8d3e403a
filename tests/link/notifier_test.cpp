// SPDX-License-Identifier: Apache-2.0
#include "link/Notifier.h"

#include <memory>

#include "tests/host/HostTest.h"

namespace {

using namespace std::chrono_literals;
using palink::Notifier;

struct NotifierTest : HostTest {
    /// Notes that it runs, and when.
    Notifier::Step step(int key, std::int64_t dueMS, const std::string& name, bool holds = false) {
        const auto run = [notes = steps, name, begin = start](const auto& /*step*/) {
            notes->add(name + "@" + std::to_string(nowMS - begin) + " ");
        };
        return {2, key, start + dueMS, holds, run};
    }
    /// Adds a step that continues after "open NAME".
    void addGate(Notifier& to, const std::string& name, int key = 7) {
        to.add({key, key, 0, false, [notes = steps, name](const auto& /*step*/) {
                    notes->add(name + " begins ");
                    notes->waitFor("open " + name);
                    notes->add(name + " ends ");
                }});
    }
    void open(const std::string& name) { steps->add("open " + name + " "); }

    const std::int64_t start = nowMS;
    const std::shared_ptr<Transcript> steps = std::make_shared<Transcript>();  // outlives the test
    Notifier notifier;
};

TEST_F(NotifierTest, RunsWhatIsDueInOrderAndWaitsNoLongerThanAPauseShouldTheClockJump) {
    notifier.add(step(1, 100, "a"));
    notifier.add(step(1, 0, "b"));
    notifier.add(step(2, 150, "c"));
    notifier.add(step(3, 120, "d"));
    notifier.add(step(1, 1'000'000, "e"));
    EXPECT_TRUE(notifier.waitUntilIdle());
    EXPECT_EQ(steps->text(),
              "a@100 b@100 c@150 d@150 e@" + std::to_string(150 + Notifier::longestWaitMS) + " ");
}

TEST_F(NotifierTest, KnowsWhatWaitsForAKeyUntilItHasRun) {
    /// The kinds with a key that a step concerns, and the number of keys that are held.
    const auto known = [this] {
        std::string all;
        int held = 0;
        for (int kind = 0; kind < 10; ++kind) {
            for (int key = 0; key < 10; ++key) {
                all += notifier.concerns(kind, key) ? std::to_string(kind * 10 + key) + " " : "";
                held += notifier.isHeld(kind, key) ? 1 : 0;
            }
        }
        return all + std::to_string(held);
    };
    addGate(notifier, "first");
    notifier.add(step(1, 0, "a"));
    notifier.add(step(2, 0, "b", true));
    steps->waitFor("first begins");
    EXPECT_EQ(known(), "21 22 77 1") << "kind 7 with key 7 is running";
    EXPECT_TRUE(notifier.isHeld(2, 2));
    addGate(notifier, "second", 2);
    notifier.add(step(3, 0, "c", true));
    open("first");
    steps->waitFor("second begins");
    EXPECT_EQ(known(), "22 23 1") << "the first step that holds a key has run";
    open("second");
    EXPECT_TRUE(notifier.waitUntilIdle());
    EXPECT_EQ(known(), "0");
}

TEST_F(NotifierTest, HoldsThreadsBackUntilThereIsSpace) {
    addGate(notifier, "first");
    steps->waitFor("first begins");
    for (std::size_t i = 2; i < Notifier::capacity; ++i) {
        EXPECT_TRUE(notifier.waitForSpace());
        notifier.add({2, 1, 0, false, [](const auto& /*step*/) {}});
    }
    addGate(notifier, "second");
    EXPECT_TRUE(notifier.waitForSpace());
    notifier.add(step(1, 0, "last"));
    std::thread waiting([this] {
        steps->add("asks ");
        EXPECT_TRUE(notifier.waitForSpace());
        steps->add("space ");
    });
    steps->waitFor("asks");
    for (int i = 0; i < 1000; ++i) {
        std::this_thread::yield();  // it waits by now
    }
    EXPECT_EQ(steps->text(), "first begins asks ");
    open("first");
    EXPECT_NE(steps->waitFor("space").find("space"), std::string::npos) << "before it is empty";
    waiting.join();
    notifier.add(
        {2, 1, 0, false, [](const auto& /*step*/) {}, Notifier::capacity * Notifier::stepBytes});
    notifier.releaseWaiters();
    EXPECT_FALSE(notifier.waitForSpace()) << "one step that holds as much takes all the space";
    open("second");
    steps->waitFor("last");
}

TEST_F(NotifierTest, EndsWithoutWaitingForAStepThatDoesNot) {
    {
        Notifier shortLived;
        addGate(shortLived, "first");
        steps->waitFor("first begins");
        shortLived.releaseWaiters();
        EXPECT_FALSE(shortLived.waitUntilIdle()) << "a step is running";
        shortLived.add(step(1, 0, "dropped"));
        shortLived.add(step(1, 0, "dropped"));
        EXPECT_EQ(shortLived.end(0ms), 2U);
        shortLived.begin();
        shortLived.add(step(1, 0, "next round"));
        steps->waitFor("next round@");
        open("first");
        EXPECT_TRUE(shortLived.waitUntilIdle());
        EXPECT_EQ(steps->text().find("dropped"), std::string::npos);
        EXPECT_NE(steps->text().find("first ends"), std::string::npos);
        addGate(shortLived, "last");
        steps->waitFor("last begins");
    }
    open("last");
}

}  // namespace
