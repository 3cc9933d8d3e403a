// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <thread>

#include "panel/events/EventLog.h"

using namespace papanel;

namespace {

constexpr std::chrono::milliseconds longEnough{20'000};  // for a test that fails
constexpr std::chrono::milliseconds atOnce{0};

/// A log whose snapshots are counted.
struct CountingLog {
    int snapshots = 0;
    EventLog log;

    explicit CountingLog(std::size_t maxBytes = EventLog::defaultMaxBytes)
        : log(
              [this] {
                  return EventLog::Json{{"n", ++snapshots}};
              },
              maxBytes) {}

    void addNumber(int number) { log.add("changes", {{"number", number}}); }
};

/// The data of the next event, with its name.
std::string nextOf(EventLog::Page& page, std::string* id = nullptr) {
    const EventLog::Text text = page.next(atOnce);
    if (text == nullptr) {
        return page.isOver() ? "over" : "nothing";
    }
    const std::size_t name = text->find("event: ");
    if (id != nullptr) {
        *id = text->substr(4, name - 5);
    }
    const std::size_t data = text->find("\ndata: ");
    return text->substr(name + 7, data - name - 7) + ' ' +
           text->substr(data + 7, text->size() - data - 9);
}

}  // namespace

TEST(EventLog, completesWhatAPageHas) {
    CountingLog counting;
    counting.addNumber(1);
    EventLog::Page first(counting.log, "", "s");
    EventLog::Page second(counting.log, "another-1", "s");
    std::string id;
    EXPECT_EQ(nextOf(first), R"(snapshot {"n":1})");
    EXPECT_EQ(nextOf(second, &id), R"(snapshot {"n":1})") << "pages of a moment share one";
    EXPECT_EQ(nextOf(first), "nothing");
    counting.addNumber(2);
    counting.addNumber(3);
    EXPECT_EQ(nextOf(first), R"(changes {"number":2})");

    EventLog::Page returned(counting.log, id, "s");  // it has read up to the snapshot
    EXPECT_EQ(nextOf(returned, &id), R"(changes {"number":2})");
    EventLog::Page again(counting.log, id, "s");
    EXPECT_EQ(nextOf(again), R"(changes {"number":3})");
    EXPECT_EQ(nextOf(again), "nothing");
    EXPECT_EQ(counting.log.pages(), 4U);
}

TEST(EventLog, sendsASnapshotAfterAReset) {
    CountingLog counting;
    EventLog::Page page(counting.log, "", "s");
    EXPECT_EQ(nextOf(page), R"(snapshot {"n":1})");
    counting.addNumber(1);
    counting.log.addReset();
    std::string id;
    EXPECT_EQ(nextOf(page, &id), R"(snapshot {"n":2})") << "what was before it is in it";
    counting.addNumber(2);
    EventLog::Page returned(counting.log, id, "s");
    EXPECT_EQ(nextOf(returned), R"(changes {"number":2})");
    EventLog::Page future(counting.log, id + "9", "s");
    EXPECT_EQ(nextOf(future).substr(0, 8), "snapshot");
}

TEST(EventLog, dropsPagesThatDoNotRead) {
    CountingLog counting(300);
    EventLog::Page slow(counting.log, "", "s");
    std::string id;
    EXPECT_EQ(nextOf(slow, &id), R"(snapshot {"n":1})");
    for (int number = 0; number < 20; ++number) {
        counting.addNumber(number);
    }
    EXPECT_EQ(nextOf(slow), "over");
    EXPECT_EQ(counting.log.dropped(), 1U);
    EventLog::Page returned(counting.log, id, "s");
    EXPECT_EQ(nextOf(returned).substr(0, 8), "snapshot");
}

TEST(EventLog, endsPages) {
    CountingLog counting;
    EventLog::Page ended(counting.log, "", "one");
    EventLog::Page other(counting.log, "", "two");
    EXPECT_EQ(nextOf(other), R"(snapshot {"n":1})");
    counting.log.endSession("one", "over");
    EXPECT_EQ(nextOf(ended), R"(session {"ends":"over"})");
    EXPECT_TRUE(ended.isOver());
    EXPECT_EQ(nextOf(other), "nothing");
    std::thread stopper([&] { counting.log.stop(); });
    EXPECT_EQ(other.next(longEnough), nullptr);
    EXPECT_TRUE(other.isOver());
    stopper.join();
}
