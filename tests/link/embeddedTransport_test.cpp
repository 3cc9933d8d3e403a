#include "link/embedded/EmbeddedTransport.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <thread>

#include "framework/clock.h"
#include "framework/log.h"
#include "link/Backoff.h"
#include "tests/link/ScriptedServer.h"

namespace {

/// A client that calls a function of the test with each event.
struct Client : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override { onEvent(event); }
    std::function<void(const palink::ServerEvent&)> onEvent = [](const palink::ServerEvent&) {};
};

/// A record of about 1 KB.
palink::Record largeRecord(int key) {
    return {1, pa::RecordKind::Sink, key, {std::string(900, 'x')}};
}

TEST(EmbeddedTransportTest, AFullQueueHoldsTheServerBack) {
    ScriptedServer server;
    palink::EmbeddedTransport transport(server, 10'000);
    std::atomic<int> reported{0};
    int delivered = 0;
    int lastKey = -1;
    int mostWaiting = 0;
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        const auto* const record = std::get_if<palink::Record>(&event);
        if (record == nullptr || record->kind != pa::RecordKind::Sink) {
            return;
        }
        while (delivered == 0 && reported < 8) {
            std::this_thread::yield();  // the server runs ahead
        }
        mostWaiting = std::max(mostWaiting, reported - delivered);
        ++delivered;
        EXPECT_EQ(record->key, lastKey + 1);
        lastKey = record->key;
    };
    transport.start(client);
    for (; reported < 5000; ++reported) {
        server.say(largeRecord(reported));
    }
    transport.waitUntilDelivered();
    EXPECT_EQ(delivered, 5000);
    EXPECT_GE(mostWaiting, 8);
    EXPECT_LE(mostWaiting, 12);
    transport.stop();
}

TEST(EmbeddedTransportTest, ASmallQueueTakesALargeEventAndALargeSetAtTheStart) {
    ScriptedServer server;
    palink::EmbeddedTransport transport(server, 1);
    int delivered = 0;
    Client client;
    client.onEvent = [&](const palink::ServerEvent&) { ++delivered; };
    transport.start(client);
    server.say(largeRecord(1));
    transport.waitUntilDelivered();
    EXPECT_EQ(delivered, 5);
}

/// A server that reports, and takes requests, with a lock held.
struct LockingServer : ScriptedServer {
    LockingServer() {
        onMeter = onDisconnect = [this] { const std::lock_guard guard(lock); };
        onOperation = [this](const pa::Operation&) { const std::lock_guard guard(lock); };
    }
    void finishReports() override { const std::lock_guard guard(lock); }
    palink::UploadResult storeFile(const std::string& localPath,
                                   const std::string& serverPath) override {
        const std::lock_guard guard(lock);
        return ScriptedServer::storeFile(localPath, serverPath);
    }
    std::mutex lock;
};

TEST(EmbeddedTransportTest, AnObserverMayMeterAndUploadWhileTheServerIsHeldBack) {
    LockingServer server;
    palink::EmbeddedTransport transport(server, 1);
    int uploaded = 0;
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        const auto* const record = std::get_if<palink::Record>(&event);
        if (record != nullptr && record->kind == pa::RecordKind::Sink) {
            transport.meterLevel(true, record->key);
            uploaded += transport.upload("/a", "/good").stored ? 1 : 0;
        }
    };
    transport.start(client);
    {
        const std::lock_guard guard(server.lock);
        for (int key = 1; key <= 100; ++key) {
            server.say(largeRecord(key));
        }
    }
    transport.waitUntilDelivered();
    EXPECT_EQ(server.feeds(100).size(), 100U);
    EXPECT_EQ(uploaded, 100);
}

TEST(EmbeddedTransportTest, WhatIsSaidOnTheThreadThatDeliversIsNotHeldBack) {
    ScriptedServer server;
    palink::EmbeddedTransport transport(server, 1);
    int delivered = 0;
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        ++delivered;
        if (std::holds_alternative<palink::InitialSetComplete>(event)) {
            server.say(largeRecord(1));
            server.say(largeRecord(2));
        }
    };
    transport.start(client);
    transport.waitUntilDelivered();
    EXPECT_EQ(delivered, 6);
}

TEST(EmbeddedTransportTest, WhatIsSaidMeanwhileDoesNotKeepTheServerHeldBack) {
    ScriptedServer server;
    palink::EmbeddedTransport transport(server, 10'000);
    int delivered = 0;
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        const auto* const record = std::get_if<palink::Record>(&event);
        if (record == nullptr || record->kind != pa::RecordKind::Sink) {
            return;
        }
        ++delivered;
        server.say(palink::LevelReading{});  // while the queue is full, and until it is not
    };
    transport.start(client);
    std::thread speaker([&] {
        for (int key = 1; key <= 200; ++key) {
            server.say(largeRecord(key));
        }
    });
    speaker.join();
    transport.waitUntilDelivered();
    EXPECT_EQ(delivered, 200);
}

TEST(EmbeddedTransportTest, AStopLetsAServerGoThatIsHeldBack) {
    LockingServer server;
    palink::EmbeddedTransport transport(server, 1);
    std::mutex lock;
    std::condition_variable changed;
    bool inObserver = false;
    bool disconnected = false;
    server.onDisconnect = [&] {
        const std::lock_guard ofServer(server.lock);  // which the held-back thread has
        const std::lock_guard guard(lock);
        disconnected = true;
        changed.notify_all();
    };
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        if (std::holds_alternative<palink::LevelReading>(event)) {
            std::unique_lock guard(lock);
            inObserver = true;
            changed.notify_all();
            changed.wait(guard, [&] { return disconnected; });
        }
    };
    transport.start(client);
    std::thread speaker([&] {
        const std::lock_guard guard(server.lock);
        for (int i = 0; i < 10; ++i) {
            server.say(palink::LevelReading{i, 0.0});
        }
    });
    {
        std::unique_lock guard(lock);
        changed.wait(guard, [&] { return inObserver; });
    }
    transport.stop();
    speaker.join();
    EXPECT_FALSE(transport.send({}));
}

TEST(EmbeddedTransportTest, ARoundTripComesAfterWhatTheServerIsReporting) {
    LockingServer server;
    palink::EmbeddedTransport transport(server);
    constexpr std::uint64_t last = 100;
    std::string order;  // of the thread that delivers
    std::promise<void> complete;
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        if (const auto* const reading = std::get_if<palink::LevelReading>(&event)) {
            order += std::to_string(reading->element) + ' ';
        } else if (const auto* const trip = std::get_if<palink::RoundTripComplete>(&event)) {
            order += "trip ";
            if (trip->number == last) {
                complete.set_value();
            }
        }
    };
    EXPECT_FALSE(transport.requestRoundTrip(1)) << "not connected";
    transport.start(client);
    {
        const std::lock_guard guard(server.lock);
        server.say(palink::LevelReading{1, 0.0});
        for (std::uint64_t number = 1; number <= last; ++number) {
            EXPECT_TRUE(transport.requestRoundTrip(number));
        }
        server.say(palink::LevelReading{2, 0.0});
    }
    complete.get_future().wait();
    transport.stop();
    EXPECT_TRUE(order == "1 2 trip " || order == "1 2 trip trip ") << order << ": one was begun";
}

/// The host's clock.
std::atomic<std::int64_t> nowMS{0};

struct ReconnectionTest : testing::Test {
    ReconnectionTest() {
        pa::TimeSource source;
        source.monotonicMS = [] { return nowMS.load(); };
        pa::setTimeSource(source);
        pa::setLogSink([](const pa::LogLine&) {});
    }
    ~ReconnectionTest() override {
        pa::setLogSink({});
        pa::setTimeSource({});
    }

    /// Lets time pass until the server has been asked so often.
    void passUntilAttempts(int count) {
        while (server.attempts < count) {
            ++nowMS;
            std::this_thread::yield();
        }
    }

    ScriptedServer server;
    palink::EmbeddedTransport transport{server};
};

TEST_F(ReconnectionTest, ConnectsAgainUntilTheServerTakesIt) {
    std::atomic<int> connections{0};
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        connections += std::holds_alternative<palink::Connected>(event) ? 1 : 0;
    };
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
        while (!transport.send({})) {
            std::this_thread::yield();
        }
        transport.waitUntilDelivered();
    }
    EXPECT_EQ(connections, 3);
    server.say(palink::Disconnected{"ends"});
    transport.stop();
    const int attempts = server.attempts;
    nowMS += 100'000;
    EXPECT_EQ(server.attempts, attempts) << "a transport that is stopped stays away";
}

TEST_F(ReconnectionTest, AStopEndsAConnectionThatIsJustBeingMade) {
    Client client;
    transport.start(client);
    std::promise<void> disconnected;
    std::once_flag once;
    server.onDisconnect = [&] { std::call_once(once, [&] { disconnected.set_value(); }); };
    server.onConnect = [&] { disconnected.get_future().wait(); };
    server.say(palink::Disconnected{"restarts"});
    passUntilAttempts(2);
    transport.stop();
    EXPECT_FALSE(server.hasClient());
}

TEST(BackoffTest, PausesDoubleUpToTheLongestEachShortenedByUpToAHalf) {
    palink::Backoff backoff(std::chrono::milliseconds(100), std::chrono::milliseconds(450));
    std::set<std::int64_t> longest;
    for (int round = 0; round < 40; ++round) {
        for (const int full : {100, 200, 400, 450, 450}) {
            const auto pause = backoff.next().count();
            EXPECT_GE(pause, full / 2);
            EXPECT_LE(pause, full);
            if (full == 450) {
                longest.insert(pause);
            }
        }
        backoff.reset();
    }
    EXPECT_GT(longest.size(), 10U) << "at random";
}

}  // namespace
