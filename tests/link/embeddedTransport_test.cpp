// SPDX-License-Identifier: Apache-2.0
#include "link/embedded/EmbeddedTransport.h"

#include <algorithm>
#include <set>

#include "link/Backoff.h"
#include "tests/host/HostTest.h"
#include "tests/link/ScriptedServer.h"

namespace {

/// A record of about 1 KB.
palink::Record largeRecord(int key) {
    return {1, pa::RecordKind::Sink, key, {std::string(900, 'x')}};
}

/// A client that calls functions of the test.
struct CallingClient : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override {
        const auto* const record = std::get_if<palink::Record>(&event);
        if (record != nullptr && record->kind == pa::RecordKind::Sink) {
            onLargeRecord(record->key);
        } else {
            onOther(event);
        }
        ++delivered;
    }
    std::function<void(int key)> onLargeRecord = [](int) {};
    std::function<void(const palink::ServerEvent&)> onOther = [](const palink::ServerEvent&) {};
    std::atomic<int> delivered{0};
};

struct EmbeddedTransportTest : HostTest {
    ScriptedServer server;
    CallingClient client;
    Transcript steps;
};

TEST_F(EmbeddedTransportTest, AFullQueueHoldsTheServerBack) {
    palink::EmbeddedTransport transport(server, 10'000);
    std::atomic<int> reported{0};
    int mostWaiting = 0;
    int last = 0;
    client.onLargeRecord = [&](int key) {
        until([&] { return key > 1 || reported >= 8; });  // the server runs ahead
        mostWaiting = std::max(mostWaiting, reported - last);
        EXPECT_EQ(key, ++last);
    };
    transport.start(client);
    for (; reported < 1000; ++reported) {
        server.say(largeRecord(reported + 1));
    }
    transport.waitUntilDelivered();
    EXPECT_EQ(last, 1000);
    EXPECT_GE(mostWaiting, 8);
    EXPECT_LE(mostWaiting, 12);
}

TEST_F(EmbeddedTransportTest, ASmallQueueTakesALargeSetAtTheStartAndWhatIsSaidWhileItDelivers) {
    palink::EmbeddedTransport transport(server, 1);
    client.onOther = [&](const palink::ServerEvent& event) {
        if (std::holds_alternative<palink::InitialSetComplete>(event)) {
            server.say(largeRecord(1));
            server.say(largeRecord(2));
        }
    };
    client.onLargeRecord = [this](int key) {
        steps.add(key == 2 ? "last" : "");
        for (int i = 0; i < 1000; ++i) {
            std::this_thread::yield();
        }
    };
    transport.start(client);
    steps.waitFor("last");
    transport.waitUntilDelivered();
    EXPECT_EQ(client.delivered, 6);
}

TEST_F(EmbeddedTransportTest, AnObserverMayMeterAndUploadWhileTheServerIsHeldBack) {
    palink::EmbeddedTransport transport(server, 1);
    int uploaded = 0;
    client.onLargeRecord = [&](int key) {
        transport.meterLevel(true, key);
        uploaded += transport.upload("/a", "/good").stored ? 1 : 0;
    };
    transport.start(client);
    {
        const std::lock_guard guard(server.lock);
        for (int key = 1; key <= 100; ++key) {
            server.say(largeRecord(key));
        }
    }
    transport.waitUntilDelivered();
    EXPECT_EQ(uploaded, 100);
    EXPECT_NE(server.feeds.waitFor("+100 ").find("+100 "), std::string::npos);
}

TEST_F(EmbeddedTransportTest, AStopFreesAServerThatIsHeldBack) {
    palink::EmbeddedTransport transport(server, 1);
    server.onDisconnect = [&] { steps.add("disconnected"); };  // after it had the server's lock
    client.onLargeRecord = [&](int) {
        steps.add("in an observer, ");
        steps.waitFor("disconnected");
    };
    transport.start(client);
    std::thread speaker([&] {
        const std::lock_guard guard(server.lock);
        for (int key = 1; key <= 10; ++key) {
            server.say(largeRecord(key));
        }
    });
    steps.waitFor("in an observer");
    transport.stop();
    speaker.join();
    EXPECT_EQ(steps.text(), "in an observer, disconnected");
    EXPECT_FALSE(transport.send({}));
}

TEST_F(EmbeddedTransportTest, ARoundTripComesAfterWhatTheServerIsReporting) {
    palink::EmbeddedTransport transport(server);
    client.onLargeRecord = [&](int) { steps.add("record "); };
    client.onOther = [&](const palink::ServerEvent& event) {
        if (const auto* const trip = std::get_if<palink::RoundTripComplete>(&event)) {
            steps.add(trip->number == 100 ? "last trip" : "earlier trip ");
        }
    };
    EXPECT_FALSE(transport.requestRoundTrip(1)) << "not connected";
    transport.start(client);
    {
        const std::lock_guard guard(server.lock);
        for (std::uint64_t number = 1; number <= 100; ++number) {
            EXPECT_TRUE(transport.requestRoundTrip(number));
        }
        server.say(largeRecord(1));
    }
    const std::string order = steps.waitFor("last trip");
    EXPECT_TRUE(order == "record last trip" || order == "record earlier trip last trip") << order;
}

TEST_F(EmbeddedTransportTest, AConnectionThatIsLostDeliversNoRoundTrip) {
    struct LosingServer : ScriptedServer {
        void finishReports() override {
            if (!std::exchange(hasLost, true)) {
                say(palink::Disconnected{"restarts"});
                say(palink::Connected{});
                back.add("back");
            }
        }
        bool hasLost = false;
        Transcript back;
    };
    LosingServer losing;
    palink::EmbeddedTransport transport(losing);
    client.onOther = [&](const palink::ServerEvent& event) {
        if (const auto* const trip = std::get_if<palink::RoundTripComplete>(&event)) {
            steps.add(std::to_string(trip->number));
        }
    };
    transport.start(client);
    EXPECT_TRUE(transport.requestRoundTrip(1));
    losing.back.waitFor("back");
    EXPECT_TRUE(transport.requestRoundTrip(2));
    EXPECT_EQ(steps.waitFor("2"), "2");
}

struct ReconnectionTest : EmbeddedTransportTest {
    /// Lets time pass until the server has been asked so often.
    void passUntilAttempts(int count) {
        for (; server.attempts < count; ++nowMS) {
            std::this_thread::yield();
        }
    }
    palink::EmbeddedTransport transport{server};
};

TEST_F(ReconnectionTest, ConnectsAgainUntilTheServerTakesIt) {
    transport.start(client);
    // Half of the first pauses at least; the first pause again after a connection.
    for (const auto& [failures, leastMS] : {std::pair{3, 125 + 250 + 500}, {0, 125}}) {
        const int attempts = server.attempts;
        const std::int64_t before = nowMS;
        server.takesClients = false;
        server.say(palink::Disconnected{"restarts"});
        EXPECT_FALSE(transport.send({})) << "operations stay in the send queue";
        passUntilAttempts(attempts + failures);
        server.takesClients = true;
        passUntilAttempts(attempts + failures + 1);
        EXPECT_GE(nowMS - before, leastMS);
        until([&] { return transport.send({}); });
        transport.waitUntilDelivered();
    }
    server.say(palink::Disconnected{"ends"});
    transport.stop();
    nowMS += 100'000;
    EXPECT_EQ(server.attempts, 6) << "a transport that is stopped stays away";
}

TEST_F(ReconnectionTest, AStopEndsAConnectionThatIsJustBeingMade) {
    transport.start(client);
    server.onDisconnect = [&] { steps.add("disconnected"); };
    server.onConnect = [&] { steps.waitFor("disconnected"); };
    server.say(palink::Disconnected{"restarts"});
    passUntilAttempts(2);
    transport.stop();
    EXPECT_FALSE(server.hasClient());
}

TEST(BackoffTest, PausesDoubleUpToTheLongestEachShortenedByUpToAHalf) {
    palink::Backoff backoff(std::chrono::milliseconds(100), std::chrono::milliseconds(450));
    std::set<std::int64_t> pauses;
    for (int round = 0; round < 40; ++round) {
        for (const int full : {100, 200, 400, 450, 450}) {
            const auto pause = backoff.next().count();
            EXPECT_TRUE(pause >= full / 2 && pause <= full) << pause;
            pauses.insert(pause);
        }
        backoff.reset();
    }
    EXPECT_GT(pauses.size(), 20U) << "at random";
}

}  // namespace
