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
    EventItem item;
    EXPECT_FALSE(isReadable() || pa::eventQueue::next(item));
    addNewEventItem(EventItem::PA_ZONE_UPDATED, 5, nullptr);
    addNewEventItem(EventItem::PA_SOURCE_DELETED, 6, nullptr);
    for (const auto& [type, key] : {std::pair{40, 5}, {7, 6}}) {
        EXPECT_TRUE(isReadable());
        ASSERT_TRUE(pa::eventQueue::next(item));
        EXPECT_EQ(std::pair(int{item.type}, item.key), std::pair(type, key));
    }
    EXPECT_FALSE(isReadable());

    const auto before = pa::eventQueue::dropped();
    for (std::size_t i = 0; i < pa::eventQueue::capacity + 3; ++i) {
        addNewEventItem(EventItem::PA_SINK_UPDATED, static_cast<int>(i), nullptr);
    }
    EXPECT_EQ(pa::eventQueue::dropped() - before, 3U);
    int last = -1;
    while (pa::eventQueue::next(item)) {
        EXPECT_EQ(item.key, last + 1);
        last = item.key;
    }
    EXPECT_EQ(last, static_cast<int>(pa::eventQueue::capacity) - 1);
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
