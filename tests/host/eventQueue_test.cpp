// SPDX-License-Identifier: Apache-2.0
#include "framework/eventQueue.h"

#include <gtest/gtest.h>
#include <poll.h>

#include "framework/levelMeter.h"

namespace {

bool isReadable() {
    pollfd fd{pa::eventQueue::fileDescriptor(), POLLIN, 0};
    return poll(&fd, 1, 0) == 1;
}

TEST(EventQueueTest, KeepsOrderIsBoundedAndWakesTheApplication) {
    const int capacity = pa::eventQueue::capacity;
    EventItem item;
    EXPECT_FALSE(isReadable() || pa::eventQueue::next(item));
    addNewEventItem(EventItem::PA_SOURCE_DELETED, 0, nullptr);
    const auto before = pa::eventQueue::dropped();
    for (int key = 1; key < capacity + 3; ++key) {
        addNewEventItem(EventItem::PA_ZONE_UPDATED, key, nullptr);
    }
    EXPECT_EQ(pa::eventQueue::dropped() - before, 3U);
    for (int key = 0; key < capacity; ++key) {
        EXPECT_TRUE(isReadable() && pa::eventQueue::next(item));
        EXPECT_EQ(item.key, key);
        EXPECT_EQ(item.type, key == 0 ? 7 : 40);
    }
    EXPECT_FALSE(isReadable() || pa::eventQueue::next(item));
}

TEST(LevelMeterTest, SwitchesEachFeedOnceAndANewSwitchAllThatAreWanted) {
    std::string switched;
    const pa::LevelMeterSwitch feed = [&switched](bool subscribe, int element) {
        switched += (subscribe ? "+" : "-") + std::to_string(element) + " ";
    };
    subscribeUnsubscribeToResAmpVUMeterElement(true, 7);
    subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
    pa::setLevelMeterSwitch(feed);
    EXPECT_EQ(switched, "+3 +7 ");
    subscribeUnsubscribeToResAmpVUMeterElement(true, 7);
    subscribeUnsubscribeToResAmpVUMeterElement(false, 9);
    subscribeUnsubscribeToResAmpVUMeterElement(false, 7);
    pa::setLevelMeterSwitch({});
    subscribeUnsubscribeToResAmpVUMeterElement(false, 3);
    EXPECT_EQ(switched, "+3 +7 -7 ");
}

}  // namespace
