#include "link/embedded/EmbeddedTransport.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

#include "tests/link/ScriptedServer.h"

namespace {

/// A client that does what the test says with each event.
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
    std::atomic<int> said{0};
    int delivered = 0;
    int lastKey = -1;
    int mostWaiting = 0;
    Client client;
    client.onEvent = [&](const palink::ServerEvent& event) {
        const auto* const record = std::get_if<palink::Record>(&event);
        if (record == nullptr || record->kind != pa::RecordKind::Sink) {
            return;
        }
        while (delivered == 0 && said < 8) {
            std::this_thread::yield();  // the server runs ahead
        }
        mostWaiting = std::max(mostWaiting, said - delivered);
        ++delivered;
        EXPECT_EQ(record->key, lastKey + 1);
        lastKey = record->key;
    };
    transport.start(client);
    for (; said < 5000; ++said) {
        server.say(largeRecord(said));
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

/// A server that speaks, and takes requests, with a lock held.
struct LockingServer : ScriptedServer {
    LockingServer() {
        onMeter = onDisconnect = [this] { const std::lock_guard guard(lock); };
        onOperation = [this](const pa::Operation&) { const std::lock_guard guard(lock); };
    }
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
        const std::lock_guard gone(server.lock);  // which the held-back thread has
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

}  // namespace
