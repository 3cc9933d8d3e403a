// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "link/mqtt/RecordMirror.h"
#include "link/mqtt/Requests.h"
#include "link/mqtt/ServerDirectory.h"
#include "link/mqtt/ServerView.h"
#include "tests/host/HostTest.h"

namespace {

using pa::RecordKind;
using palink::ServerRole;
using palink::ServerStatus;

ServerStatus online(ServerRole role, int precedence, std::int64_t generation = 1) {
    ServerStatus status;
    status.online = true;
    status.generation = generation;
    status.role = role;
    status.precedence = precedence;
    return status;
}

/// The servers that are used, as in "-1 to 2, -2 to 3, zones from 2 3", or why there are none.
std::string selected(const palink::ServerDirectory& directory, const palink::Destinations& wanted) {
    const auto choice = directory.select(wanted);
    if (const auto* const problem = std::get_if<std::string>(&choice)) {
        return *problem;
    }
    const auto& selection = std::get<palink::Selection>(choice);
    std::string text = "-1 to " + std::to_string(selection.direct) + ", -2 to " +
                       std::to_string(selection.local) + ", active " +
                       std::to_string(selection.active) + (selection.indirect ? " indirect" : "");
    for (const RecordKind kind : {RecordKind::Sink, RecordKind::Schedule, RecordKind::Zone}) {
        text += std::string(", ") + pa::nameOf(kind) + 's';
        for (const auto& [dstNo, kinds] : selection.records) {
            const bool has = std::count(kinds.begin(), kinds.end(), kind) == 1;
            text += has ? ' ' + std::to_string(dstNo) : "";
        }
    }
    return text;
}

TEST(ServerDirectoryTest, TheServersInUseFollowFromConfigurationAndStatuses) {
    palink::ServerDirectory directory;
    EXPECT_EQ(selected(directory, {}), "no server is active");
    directory.set(3, online(ServerRole::Standby, 1));
    EXPECT_EQ(selected(directory, {}), "no server is active");
    directory.set(5, online(ServerRole::Active, 2));
    directory.set(4, online(ServerRole::Active, 2));
    const char* const four = "-1 to 4, -2 to 4, active 4, sinks 4, schedules 4, zones 4";
    EXPECT_EQ(selected(directory, {}), four);  // of one precedence the lowest number
    directory.set(6, online(ServerRole::Active, 1));
    EXPECT_EQ(selected(directory, {}), "-1 to 6, -2 to 6, active 6, sinks 6, schedules 6, zones 6");
    const struct {
        palink::Destinations wanted;
        const char* expected;
    } rows[] = {
        {{3, false, 0}, "-1 to 3, -2 to 3, active 6, sinks 3, schedules 6, zones 6"},
        {{7, false, 0}, "the broker knows no server 7"},
        {{std::nullopt, true, 3},
         "-1 to 3, -2 to 3, active 6 indirect, sinks 3, schedules 6, zones 3 6"},
        {{5, true, 3}, "-1 to 5, -2 to 3, active 6 indirect, sinks 3, schedules 6, zones 3 6"},
        {{std::nullopt, true, 6},
         "-1 to 6, -2 to 6, active 6 indirect, sinks 6, schedules 6, zones 6"},
        {{std::nullopt, true, 7}, "the broker knows no server 7"},
        {{7, true, 3}, "the broker knows no server 7"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(selected(directory, row.wanted), row.expected);
    }
    ServerStatus offline;
    offline.generation = 1;
    directory.set(6, offline);
    EXPECT_EQ(selected(directory, {}), four);
    EXPECT_EQ(selected(directory, {6, false, 0}), "server 6 is offline");
    directory.remove(4);
    directory.remove(5);
    EXPECT_EQ(selected(directory, {std::nullopt, true, 3}), "no server is active");
    EXPECT_EQ(selected(directory, {3, false, 0}),
              "-1 to 3, -2 to 3, active 3, sinks 3, schedules 3, zones 3");
}

TEST(KindMirrorTest, FindsOutWhatIsMissingAndWhatIsLeftOver) {
    palink::KindMirror mirror;
    EXPECT_TRUE(mirror.agrees());
    EXPECT_TRUE(mirror.put(1, 10));
    EXPECT_FALSE(mirror.put(1, 10));
    EXPECT_TRUE(mirror.put(1, 11));
    EXPECT_TRUE(mirror.put(2, 20));
    EXPECT_FALSE(mirror.remove(9));
    mirror.expect({2, 30});
    EXPECT_FALSE(mirror.agrees());
    mirror.expect({2, 31});
    EXPECT_TRUE(mirror.agrees());
    // The server now holds 1 as it was and 3, of which nothing has arrived.
    mirror.expect({2, 41});
    EXPECT_EQ(mirror.takeLeftovers(), std::vector<int>{});
    mirror.beginFetch();
    EXPECT_FALSE(mirror.put(1, 11));
    EXPECT_EQ(mirror.takeLeftovers(), std::vector<int>{});
    EXPECT_TRUE(mirror.put(3, 30));
    EXPECT_FALSE(mirror.agrees());
    EXPECT_EQ(mirror.takeLeftovers(), std::vector<int>{2});
    EXPECT_TRUE(mirror.agrees());
    // What is dropped differs from fetch to fetch: what has arrived in any of them counts.
    mirror.expect({4, 141});
    for (const int key : {4, 5}) {
        mirror.beginFetch();
        EXPECT_TRUE(mirror.put(key, 50));
        EXPECT_EQ(mirror.takeLeftovers(), std::vector<int>{});
    }
    EXPECT_TRUE(mirror.agrees());
}

struct ServerViewTest : HostTest {
    palink::ViewChange status(int dstNo, const ServerStatus& status) {
        palink::ViewChange change;
        view.takeStatus(dstNo, palink::encodeStatus(status), change);
        return change;
    }

    palink::ServerView view{palink::Destinations{}};
};

TEST_F(ServerViewTest, WhatDiffersIsFetchedWithPausesThatDoubleUntilItAgrees) {
    ServerStatus one = online(ServerRole::Active, 1);
    one.kinds[RecordKind::Zone] = {1, 5};
    EXPECT_EQ(status(1, one).subscribe.size(), std::size(pa::recordKinds));
    EXPECT_FALSE(view.isSynced());
    std::vector<std::int64_t> fetches;
    const std::int64_t start = nowMS;
    while (nowMS < start + 60'000) {
        if (view.nextDue().value() <= nowMS) {
            const palink::ViewChange change = view.runDue();
            EXPECT_EQ(change.subscribe, std::vector<std::string>{"pa/1/records/20/+"});
            EXPECT_TRUE(change.fetchStatuses);
            fetches.push_back(nowMS - start);
        }
        nowMS += 5;
    }
    EXPECT_EQ(fetches.at(0), 1000);
    EXPECT_LE(fetches.at(1), 1250);
    EXPECT_GE(fetches.size(), 7U);  // 1, 1.25, 1.75, 2.75, 4.75, 8.75, 16.75 s at the latest
    EXPECT_LE(fetches.size(), 12U);
    one.kinds.clear();
    status(1, one);
    EXPECT_TRUE(view.isSynced());
    EXPECT_EQ(view.nextDue(), std::nullopt);
    one.online = false;
    EXPECT_EQ(status(1, one).unsubscribe.size(), std::size(pa::recordKinds));
}

TEST_F(ServerViewTest, TheTimeWithoutSyncBeginsWithTheLinkAndWithEachLoss) {
    const std::int64_t start = nowMS;
    ServerStatus one = online(ServerRole::Active, 1);
    one.kinds[RecordKind::Zone] = {1, 5};
    nowMS += 60'000;
    EXPECT_EQ(view.sinceMS(), start);
    status(1, one);
    EXPECT_EQ(view.sinceMS(), start) << "connected, not synced";
    one.kinds.clear();
    status(1, one);
    EXPECT_EQ(view.sinceMS(), start + 60'000);
    nowMS += 60'000;
    palink::ViewChange change;
    view.lose("", change);
    nowMS += 60'000;
    EXPECT_EQ(view.sinceMS(), start + 120'000) << "lost";
}

struct RequestsTest : HostTest {
    RequestsTest() { requests.connected(); }

    /// Adds a request that notes its end by its payload.
    bool add(const std::string& payload, bool survivesLoss = true) {
        palink::MqttMessage message;
        message.payload = payload;
        return requests.add({message, survivesLoss, [this, payload](const palink::RequestEnd& end) {
                                 ends += payload + ": " + end.text() + '\n';
                             }});
    }

    static constexpr const char* tooLarge = "too large";
    std::vector<palink::MqttMessage> sent;  // the id of a publication is its place, from 1
    std::string ends;
    palink::Requests requests{"answers",
                              [this](const palink::MqttMessage& message) {
                                  if (message.payload == tooLarge) {
                                      throw std::invalid_argument("too large");
                                  }
                                  sent.push_back(message);
                                  return static_cast<int>(sent.size());
                              },
                              [] {}};
};

TEST_F(RequestsTest, OneThatMayHaveArrivedIsNotRefusedWhenTheServerIsGoneAfterwards) {
    constexpr int noSubscriber = 0x10;
    constexpr int notAuthorized = 0x87;
    add("acknowledged");
    requests.published(1, 0);
    nowMS += 2000;
    requests.runDue();
    requests.published(2, noSubscriber);
    add("lost");
    add("ends with the connection", false);
    requests.disconnected();
    EXPECT_EQ(std::exchange(ends, {}), "ends with the connection: the connection is lost\n");
    requests.connected();
    ASSERT_EQ(sent.size(), 6U);
    EXPECT_EQ(sent[1].correlation, sent[4].correlation);
    EXPECT_EQ(sent[2].correlation, sent[5].correlation);
    requests.published(5, noSubscriber);
    requests.published(6, noSubscriber);
    EXPECT_EQ(ends, "");
    add("new");
    requests.published(7, noSubscriber);
    EXPECT_EQ(std::exchange(ends, {}), "new: no server is connected to the broker\n");
    add("denied");
    requests.published(8, notAuthorized);
    EXPECT_EQ(std::exchange(ends, {}),
              "denied: the broker does not allow this client to ask for it\n");
    requests.answered(sent[5].correlation, {});
    EXPECT_EQ(std::exchange(ends, {}), "lost: \n");
    nowMS += 8000;
    requests.runDue();
    EXPECT_EQ(ends, "acknowledged: no answer within 10 s: the outcome is unknown\n");
    EXPECT_EQ(requests.nextDue(), std::nullopt);
}

TEST_F(RequestsTest, ManyArePublishedInTheirOrderAsTheBrokerAcknowledgesThem) {
    constexpr std::size_t atOnce = 200;
    for (std::size_t i = 0; i < atOnce + 2; ++i) {
        add(std::to_string(i));
    }
    EXPECT_EQ(sent.size(), atOnce);
    requests.published(1, 0);
    EXPECT_EQ(sent.size(), atOnce + 1);
    EXPECT_EQ(sent.back().payload, std::to_string(atOnce));
    EXPECT_FALSE(add(std::string(palink::Requests::maxBytes, 'x')));
    EXPECT_EQ(requests.close(), atOnce + 2);
    EXPECT_FALSE(add("closed"));
}

TEST_F(RequestsTest, OneThatTheBrokerCannotTakeEndsWithoutTheOthers) {
    requests.disconnected();
    for (const char* const payload : {"first", tooLarge, "last"}) {
        EXPECT_TRUE(add(payload));
    }
    requests.connected();
    EXPECT_TRUE(add(tooLarge));
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_EQ(ends,
              "too large: the broker does not take the message\n"
              "too large: the broker does not take the message\n");
    EXPECT_EQ(requests.size(), 2U);
}

}  // namespace
