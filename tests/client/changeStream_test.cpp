#include "client/ChangeStream.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <thread>

#include "framework/clock.h"

namespace {

using namespace std::chrono_literals;
using paclient::ChangePtr;
using paclient::Listener;
using paclient::Lost;
using paclient::Subscription;
using paclient::Wait;

void refuse(const std::string& reason) {
    paclient::ChangeStream::instance().publish(palink::Refusal{{}, "", reason});
}

/// "a", "+3" for three that are lost, "-" for none.
std::string text(const ChangePtr& change) {
    if (change == nullptr) {
        return "-";
    }
    if (const auto* const lost = std::get_if<Lost>(change.get())) {
        return '+' + std::to_string(lost->count);
    }
    return std::get<palink::Refusal>(*change).reason;
}

bool isReadable(const Subscription& subscription) {
    pollfd entry{subscription.fileDescriptor(), POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

TEST(ChangeStreamTest, EachSubscriberReadsWhatItWantsFromItsOwnQueue) {
    refuse("before");
    Subscription all;
    Subscription levels(paclient::kinds<palink::LevelReading>());
    EXPECT_FALSE(isReadable(all));
    refuse("a");
    {
        Subscription late;
        refuse("b");
        EXPECT_EQ(text(late.next()), "b");
        EXPECT_EQ(text(late.next()), "-");
    }
    EXPECT_TRUE(isReadable(all));
    EXPECT_EQ(all.waiting(), 2U);
    EXPECT_EQ(text(all.next()), "a");
    EXPECT_TRUE(isReadable(all));
    EXPECT_EQ(text(all.next()), "b");
    EXPECT_FALSE(isReadable(all));
    EXPECT_EQ(levels.waiting(), 0U);
    EXPECT_FALSE(isReadable(levels));
}

TEST(ChangeStreamTest, AFullQueueReportsWhatItHasLostAndContinues) {
    const std::string large(10'000, 'x');
    Subscription narrow(paclient::allKinds(), 25'000);
    Subscription wide;
    for (int i = 0; i < 5; ++i) {
        refuse(large);
    }
    EXPECT_EQ(text(narrow.next()), large);
    refuse("small");  // lost as well: there is no gap that is not reported in its place
    EXPECT_EQ(text(narrow.next()), large);
    EXPECT_TRUE(isReadable(narrow));
    EXPECT_EQ(text(narrow.next()), "+4");
    EXPECT_FALSE(isReadable(narrow));
    refuse(std::string(100'000, 'y'));
    EXPECT_EQ(text(narrow.next()).size(), 100'000U)
        << "what is too large for any queue is not lost";
    EXPECT_EQ(wide.waiting(), 7U);
}

TEST(ChangeStreamTest, EveryTextCountsTowardsTheBound) {
    const std::string large(1'000'000, 'x');
    PaSource source;
    source.label = large;
    PaSelector selector;
    selector.paZoneList[1] = large;
    ScheduleDefinition schedule;
    schedule.displayTemplateKeyValueList["LINE"] = large;
    ScheduleDefinition spoken;
    spoken.ttsList.emplace_back();
    spoken.ttsList[0].text = large;
    using namespace paclient;
    const Change changes[] = {
        Updated<PaSource>{source},
        Updated<PaSelector>{selector},
        Updated<ScheduleDefinition>{schedule},
        Deleted<ScheduleDefinition>{spoken},
        Deleted<PaZone>{large},
        LockChange{1, "", large},
        Retrieval{"", false, {}, large},
        palink::ConnectionChange{{}, 1, large},
        pa::DroppedOperation{{}, {}, "", large, 0, 1},
        SentOperation{{-1, {}, 1, large}},
    };
    for (const Change& change : changes) {
        EXPECT_GT(bytesOf(change), large.size()) << eventName(change);
    }
    EXPECT_LT(bytesOf(Updated<PaSource>{}), 2000U);
}

TEST(ChangeStreamTest, AWaitEndsWithAChangeWithItsLimitAndByAnException) {
    static std::atomic<std::int64_t> nowMS{0};
    pa::TimeSource source;
    source.monotonicMS = [] { return nowMS.load(); };
    pa::setTimeSource(source);
    Subscription subscription;
    std::vector<std::int64_t> waited;
    Wait wait{100ms, {}, 0ms};
    wait.whileWaiting = [&](std::chrono::milliseconds soFar) {
        waited.push_back(soFar.count());
        nowMS += 40;
        if (waited.size() == 6) {
            refuse("late");
        } else if (waited.size() == 7) {
            throw std::runtime_error("interrupted");
        }
    };
    EXPECT_EQ(text(subscription.next(wait)), "-");
    EXPECT_EQ(waited, (std::vector<std::int64_t>{0, 40, 80}));
    wait.limit = paclient::noLimit;
    EXPECT_EQ(text(subscription.next(wait)), "late");
    EXPECT_THROW(subscription.next(wait), std::runtime_error);
    refuse("next");
    EXPECT_EQ(text(subscription.next(wait)), "next") << "what waits is read without waiting";
    EXPECT_EQ(waited.size(), 7U);
    pa::setTimeSource({});
}

TEST(ChangeStreamTest, SubscribersComeAndLeaveInsideACallback) {
    std::string calls;
    std::optional<Listener> second;
    std::optional<Subscription> subscription;
    const auto refusals = paclient::kinds<palink::Refusal>();
    std::optional<Listener> first(std::in_place, refusals, [&](const ChangePtr& change) {
        calls += "1" + text(change);
        if (!second) {
            subscription.emplace();
            second.emplace(refusals, [&](const ChangePtr& other) {
                calls += "2" + text(other);
                second.reset();  // ends itself
                first.reset();
            });
        }
        throw std::runtime_error("and fails");  // the others are notified all the same
    });
    refuse("a");
    EXPECT_EQ(calls, "1a");
    refuse("b");
    EXPECT_EQ(calls, "1a1b2b");
    refuse("c");
    EXPECT_EQ(calls, "1a1b2b");
    EXPECT_EQ(text(subscription->next()), "b");
    EXPECT_EQ(text(subscription->next()), "c");
}

/// For ThreadSanitizer, and for the contract of the listener's end.
TEST(ChangeStreamTest, SubscribersComeAndLeaveWhileOthersPublish) {
    std::atomic<bool> ends{false};
    std::thread publisher([&] {
        while (!ends) {
            refuse("a");
        }
    });
    for (int round = 0; round < 50; ++round) {
        Subscription subscription;
        std::atomic<int> calls{0};
        {
            const Listener listener(paclient::allKinds(), [&](const ChangePtr&) { ++calls; });
            while (calls < 3) {
                std::this_thread::yield();
            }
        }
        const int after = calls;
        EXPECT_EQ(text(subscription.next(Wait{})), "a");
        EXPECT_EQ(calls, after) << "it is not called once its destructor has returned";
    }
    ends = true;
    publisher.join();
}

}  // namespace
