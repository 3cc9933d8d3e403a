#include "link/HandlerSlot.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {

using Slot = palink::HandlerSlot<int>;

TEST(HandlerSlotTest, WhatIsReplacedIsNeitherRunningNorThereAnyMore) {
    for (int round = 0; round < 200; ++round) {
        Slot slot;
        std::atomic<bool> entered{false};
        bool left = false;  // a data race if it were still running
        auto owned = std::make_shared<int>(0);
        const std::weak_ptr<int> watched = owned;
        slot.set([&, owned = std::move(owned)](const int&) {
            entered = true;
            for (int i = 0; i < 20; ++i) {
                std::this_thread::yield();
            }
            left = true;
        });
        std::thread caller([&] { slot.call(0); });
        while (!entered) {
            std::this_thread::yield();
        }
        slot.set({});
        EXPECT_TRUE(left);
        EXPECT_TRUE(watched.expired());
        EXPECT_FALSE(slot.call(0));
        caller.join();
    }
}

TEST(HandlerSlotTest, AHandlerMayReplaceItself) {
    Slot slot;
    std::string calls;
    auto owned = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = owned;
    slot.set([&, owned = std::move(owned)](const int& n) {
        slot.set([&](const int& m) { calls += "second " + std::to_string(m) + " "; });
        EXPECT_FALSE(watched.expired()) << "it is running";
        slot.call(n + 1);
        calls += "first " + std::to_string(n) + " ";
    });
    EXPECT_TRUE(slot.call(1));
    EXPECT_TRUE(watched.expired());
    slot.call(3);
    EXPECT_EQ(calls, "second 2 first 1 second 3 ");
}

TEST(HandlerSlotTest, AlsoWaitsForOneThatHasReplacedItself) {
    for (int round = 0; round < 200; ++round) {
        Slot slot;
        std::promise<void> replaced;
        bool left = false;
        slot.set([&](const int&) {
            slot.set({});
            replaced.set_value();
            for (int i = 0; i < 20; ++i) {
                std::this_thread::yield();
            }
            left = true;
        });
        std::thread caller([&] { slot.call(0); });
        replaced.get_future().wait();
        slot.set({});
        EXPECT_TRUE(left);
        caller.join();
    }
}

/// Uses the slot when it is destroyed.
struct Owned {
    explicit Owned(Slot& s) : slot(s) {}
    ~Owned() {
        slot.call(7);
        slot.set({});
    }
    Slot& slot;
};

TEST(HandlerSlotTest, WhatAHandlerOwnsMayUseTheSlotWhenItIsDestroyed) {
    Slot slot;
    slot.set([owned = std::make_shared<Owned>(slot)](const int&) {});
    int handled = 0;
    slot.set([&handled](const int& n) { handled = n; });
    EXPECT_EQ(handled, 7);
    slot.set([&slot, owned = std::make_shared<Owned>(slot)](const int&) { slot.set({}); });
    slot.call(1);
    EXPECT_FALSE(slot.call(1));
}

}  // namespace
