#include "client/Connection.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

#include "framework/clock.h"
#include "framework/log.h"
#include "link/embedded/EmbeddedTransport.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "tests/link/ScriptedServer.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace std::chrono_literals;
using paclient::NotConnected;
using paclient::Subscription;
using paclient::Wait;

struct TestEndpoint final : paclient::Endpoint {
    palink::Transport& transport() override { return embedded; }
    std::string name() const override { return "test server"; }

    ScriptedServer server;
    palink::EmbeddedTransport embedded{server};
};

std::atomic<std::int64_t> nowMS{0};

/// A wait during which the host's clock advances.
Wait passing(std::chrono::milliseconds limit) {
    return {limit, [](std::chrono::milliseconds) { nowMS += 50; }, 1ms};
}

struct ConnectionOfClientTest : testing::Test {
    ConnectionOfClientTest() {
        pa::TimeSource source;
        source.monotonicMS = [] { return nowMS.load(); };
        source.sleepMS = [](int) {};
        pa::setTimeSource(source);
        pa::setLogSink([](const pa::LogLine&) {});
        connection.open(passing(10min));
    }
    ~ConnectionOfClientTest() override {
        connection.link().stop();
        pa::setLogSink({});
        pa::setTimeSource({});
        pa::store(gAudioServerInstance, nullptr);
        pa::store(gIndirectCXSConnection, false);
    }

    void lose() {
        server.say(palink::Disconnected{"cable pulled"});
        endpoint.embedded.waitUntilDelivered();
    }

    /// What has been published since the last call.
    std::string changes() {
        static const char* const states[] = {"connected", "synced", "disconnected", "stopped"};
        std::string text;
        while (const auto change = subscription.next()) {
            if (const auto* const lock = std::get_if<paclient::LockChange>(change.get())) {
                text += std::to_string(lock->sourceId) + ": " + lock->before + " -> " +
                        lock->lockedUUID + "; ";
            } else if (const auto* const step =
                           std::get_if<palink::ConnectionChange>(change.get())) {
                text += states[static_cast<int>(step->state)] + std::to_string(step->number) + "; ";
            }
        }
        return text;
    }

    TestEndpoint endpoint;
    ScriptedServer& server = endpoint.server;
    Subscription subscription{paclient::kinds<paclient::LockChange, palink::ConnectionChange>()};
    const std::string own = paclient::audioServer().getUUID();
    paclient::Connection connection{endpoint};
};

TEST_F(ConnectionOfClientTest, IsBackAfterALossAndReportsTheLocksThatAreLost) {
    EXPECT_EQ(changes(), "connected1; synced1; ");
    server.lockHolder = own;
    server.saySource();
    connection.waitUntilDelivered(passing(10min));
    EXPECT_EQ(changes(), "1:  -> " + own + "; ");
    EXPECT_EQ(connection.heldSources(), std::set<int>{1});

    lose();
    EXPECT_FALSE(connection.isSynced());
    connection.requireConnected(passing(10min));
    EXPECT_EQ(connection.number(), 2U);
    EXPECT_EQ(changes(), "disconnected1; connected2; synced2; ") << "the server has kept the lock";
    EXPECT_EQ(server.operations(1)[0], "1," + own) << "it is renewed at once";

    server.lockHolder = "other";
    lose();
    connection.requireConnected(passing(10min));
    connection.waitUntilDelivered(passing(10min));
    EXPECT_EQ(changes(), "disconnected2; connected3; synced3; 1: " + own + " -> other; ");
    EXPECT_TRUE(connection.heldSources().empty());

    server.say(palink::Withdrawal{3, pa::RecordKind::Source, 1});
    connection.link().stop();
    EXPECT_EQ(changes(), "disconnected3; stopped3; ");
}

TEST_F(ConnectionOfClientTest, AConnectionThatStaysAwayIsAnErrorAfterTheLimit) {
    EXPECT_EQ(connection.awayFor(), 0ms);
    server.takesClients = false;
    lose();
    EXPECT_EQ(thrownBy<NotConnected>([&] { connection.requireConnected(passing(2s)); }),
              "the connection to the server is lost: cable pulled");
    EXPECT_GE(connection.awayFor(), 2s);
    EXPECT_THROW(connection.waitUntilDelivered(passing(2s)), NotConnected);
    Wait interrupted = passing(10min);
    interrupted.whileWaiting = [](std::chrono::milliseconds) {
        throw std::runtime_error("interrupted");
    };
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { connection.requireConnected(interrupted); }),
              "interrupted");
    server.takesClients = true;
    connection.requireConnected(passing(10min));
    EXPECT_EQ(connection.awayFor(), 0ms);
}

TEST_F(ConnectionOfClientTest, WhatIsReportedHasReachedTheSubscribersAfterARoundTrip) {
    Subscription all(paclient::kinds<paclient::Updated<PaZone>, paclient::Updated<PaSource>,
                                     paclient::AttachedZonesReport>());
    for (int key = 1; key <= 1000; ++key) {
        server.say(palink::Record{4, pa::RecordKind::Zone, key, {"Zone " + std::to_string(key)}});
    }
    server.say(palink::Record{3, pa::RecordKind::AttachedZones, 1, {"1", ""}});
    server.say(palink::Record{// its notification is due later
                              3,
                              pa::RecordKind::Source,
                              2,
                              {"2", "", "", "", "", "", "", "", "", "", "3"}});
    connection.waitUntilDelivered(passing(10min));
    EXPECT_EQ(all.waiting(), 1002U);
}

}  // namespace
