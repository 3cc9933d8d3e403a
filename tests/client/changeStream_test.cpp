// SPDX-License-Identifier: Apache-2.0
#include "client/ChangeStream.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "framework/clock.h"
#include "tests/support/endChild.h"

namespace {

using namespace std::chrono_literals;
using namespace paclient;

void refuse(const std::string& reason) {
    ChangeStream::instance().publish(palink::Refusal{{}, "", reason});
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
    Subscription levels(kinds<palink::LevelReading>());
    int readings = 0;
    const Listener meter(kinds<palink::LevelReading>(), [&](const auto&) { ++readings; });
    EXPECT_FALSE(isReadable(all));
    refuse("a");
    refuse("b");
    EXPECT_EQ(text(all.next()), "a");
    EXPECT_TRUE(isReadable(all));
    EXPECT_EQ(text(all.next()), "b");
    EXPECT_FALSE(isReadable(all));
    ChangeStream::instance().publish(palink::LevelReading{});
    EXPECT_EQ(levels.waiting(), 1U);
    EXPECT_EQ(readings, 1);
}

TEST(ChangeStreamTest, AFullQueueReportsWhatItHasLostAndContinues) {
    const std::string large(10'000, 'x');
    Subscription narrow(allKinds(), 25'000);
    for (int round = 1; round <= 2; ++round) {
        for (int i = 0; i < 5; ++i) {
            refuse(large);
        }
        EXPECT_EQ(text(narrow.next()), large);
        refuse("small");  // lost as well: there is no gap that is not reported in its place
        EXPECT_EQ(text(narrow.next()), large);
        EXPECT_EQ(text(narrow.next()), "+4");
        EXPECT_FALSE(isReadable(narrow));
    }
    refuse(std::string(100'000, 'y'));
    EXPECT_EQ(text(narrow.next()).size(), 100'000U)
        << "what is too large for any queue is not lost";
}

TEST(ChangeStreamTest, EveryTextCountsTowardsTheBound) {
    const std::string large(1'000'000, 'x');
    ScheduleDefinition displayed;
    displayed.displayTemplateKeyValueList["LINE"] = large;
    ScheduleDefinition spoken;
    spoken.ttsList.emplace_back();
    spoken.ttsList[0].text = large;
    const Change changes[] = {
        Updated<ScheduleDefinition>{displayed},
        Deleted<ScheduleDefinition>{spoken},
        Retrieval{"", false, {}, large},
    };
    for (const Change& change : changes) {
        EXPECT_GT(bytesOf(change), large.size()) << eventName(change);
    }
    EXPECT_LT(bytesOf(Updated<PaSource>{}), 2000U);
}

TEST(ChangeStreamTest, AWaitEndsWithAChangeWithItsLimitAndByAnException) {
    static std::atomic<std::int64_t> nowMS{0};
    pa::setTimeSource({nullptr, [] { return nowMS.load(); }, nullptr});
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
    wait.limit = noLimit;
    EXPECT_EQ(text(subscription.next(wait)), "late");
    EXPECT_THROW(subscription.next(wait), std::runtime_error);
    pa::setTimeSource({});
}

TEST(ChangeStreamTest, SubscribersComeAndLeaveInsideACallback) {
    std::string calls;
    std::optional<Listener> listener;
    listener.emplace(allKinds(), [&](const ChangePtr& change) {
        calls += text(change);
        const Subscription another;
        listener.reset();  // ends itself
        throw std::runtime_error("and fails");
    });
    refuse("a");
    refuse("b");
    EXPECT_EQ(calls, "a");
}

/// For ThreadSanitizer, and for the contract of the listener's end.
TEST(ChangeStreamTest, SubscribersComeAndLeaveWhileOthersPublish) {
    std::atomic<bool> ends{false};
    std::thread publisher([&] {
        while (!ends) {
            refuse("a");
        }
    });
    for (int round = 0; round < 20; ++round) {
        Subscription subscription;
        std::atomic<int> calls{0};
        std::atomic<bool> isRunning{false};
        {
            const Listener listener(allKinds(), [&](const ChangePtr&) {
                isRunning = true;
                ++calls;
                std::this_thread::yield();
                isRunning = false;
            });
            while (calls < 3) {
                std::this_thread::yield();
            }
        }
        EXPECT_FALSE(isRunning) << "once the listener's destructor has returned";
        EXPECT_EQ(text(subscription.next(Wait{})), "a");
    }
    ends = true;
    publisher.join();
}

TEST(ChangeStreamTest, AChildOfAForkReadsForItself) {
    Subscription before;
    refuse("both");
    const pid_t child = fork();
    if (child == 0) {
        const bool isInherited = text(before.next()) == "both";
        Subscription own;
        refuse("child");
        const bool isPublished = text(before.next()) == "child" && text(own.next()) == "child";
        endChild(isInherited && isPublished ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(isReadable(before));
    EXPECT_EQ(text(before.next()), "both");
}

}  // namespace
