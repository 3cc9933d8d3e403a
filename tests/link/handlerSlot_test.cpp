// SPDX-License-Identifier: Apache-2.0
#include "link/HandlerSlot.h"

#include <memory>

#include "tests/host/HostTest.h"

namespace {

struct HandlerSlotTest : testing::Test {
    palink::HandlerSlot<int> slot;
};

TEST_F(HandlerSlotTest, WhatIsReplacedIsNotRunningAnyMore) {
    for (int round = 0; round < 400; ++round) {
        std::atomic<bool> entered{false};
        bool left = false;  // a data race if it were still running
        slot.set([&](const int&) {
            if (round % 2 == 0) {
                slot.set({});  // it replaces itself
            }
            entered = true;
            for (int i = 0; i < 20; ++i) {
                std::this_thread::yield();
            }
            left = true;
        });
        std::thread caller([this] { slot.call(0); });
        until([&] { return entered.load(); });
        slot.set({});
        EXPECT_TRUE(left);
        EXPECT_FALSE(slot.call(0));
        caller.join();
    }
}

TEST_F(HandlerSlotTest, AHandlerMayReplaceItselfAndWhatItOwnsMayUseTheSlot) {
    std::string calls;
    const auto owned = [&] {  // uses the slot when it is destroyed
        return std::shared_ptr<void>(nullptr, [&](void*) {
            calls += "destroyed ";
            slot.call(7);
        });
    };
    slot.set([&, own = owned()](const int& n) {
        slot.set([&, other = owned()](const int& m) { calls += std::to_string(m) + " "; });
        slot.call(n + 1);
        calls += "first ";
    });
    EXPECT_TRUE(slot.call(1));
    EXPECT_EQ(calls, "2 first destroyed 7 ");
    slot.set({});
    EXPECT_EQ(calls, "2 first destroyed 7 destroyed ");
}

}  // namespace
