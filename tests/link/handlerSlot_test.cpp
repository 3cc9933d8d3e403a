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
    std::string told;
    auto owned = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = owned;
    slot.set([&, owned = std::move(owned)](const int& n) {
        slot.set([&](const int& m) { told += "second " + std::to_string(m) + " "; });
        EXPECT_FALSE(watched.expired()) << "it is running";
        slot.call(n + 1);
        told += "first " + std::to_string(n) + " ";
    });
    EXPECT_TRUE(slot.call(1));
    EXPECT_TRUE(watched.expired());
    slot.call(3);
    EXPECT_EQ(told, "second 2 first 1 second 3 ");
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

TEST(HandlerSlotTest, WhatAHandlerOwnsMayUseTheSlotWhenItGoes) {
    Slot slot;
    slot.set([owned = std::make_shared<Owned>(slot)](const int&) {});
    int told = 0;
    slot.set([&told](const int& n) { told = n; });
    EXPECT_EQ(told, 7);
    slot.set([&slot, owned = std::make_shared<Owned>(slot)](const int&) { slot.set({}); });
    slot.call(1);
    EXPECT_FALSE(slot.call(1));
}

}  // namespace
