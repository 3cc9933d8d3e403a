// SPDX-License-Identifier: Apache-2.0
#include "client/Connection.h"

#include <atomic>

#include "framework/log.h"
#include "tests/client/serverFixture.h"
#include "tests/link/ScriptedServer.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace std::chrono_literals;
using paclient::NotConnected;
using paclient::Subscription;

std::atomic<std::int64_t> nowMS{0};

/// A wait during which the host's clock advances.
paclient::Wait passing(std::chrono::milliseconds limit) {
    return {limit, [](std::chrono::milliseconds) { nowMS += 50; }, 1ms};
}

struct ConnectionOfClientTest : testing::Test {
    ConnectionOfClientTest() {
        pa::TimeSource time = withoutPauses();
        time.monotonicMS = [] { return nowMS.load(); };
        pa::setTimeSource(time);
        pa::setLogSink([](const pa::LogLine&) {});
        connection.open(passing(10min));
    }
    ~ConnectionOfClientTest() override {
        connection.link().stop();
        pa::setLogSink({});
        pa::setTimeSource({});
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
            } else {
                const auto& step = std::get<palink::ConnectionChange>(*change);
                text += states[static_cast<int>(step.state)] + std::to_string(step.number) + "; ";
            }
        }
        return text;
    }

    ScriptedServer server;
    TestEndpoint endpoint{server};
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

    Subscription sent(paclient::kinds<paclient::SentOperation>());
    lose();
    EXPECT_FALSE(connection.isSynced());
    connection.requireConnected(passing(10min));
    EXPECT_EQ(changes(), "disconnected1; connected2; synced2; ") << "the server has kept the lock";
    ASSERT_NE(sent.next(passing(5min)), nullptr) << "it is renewed at once";
    EXPECT_EQ(server.operations(1)[0], "1," + own);

    const pa::RecordFields notReportedAgain{"2", "", "", "", "", "", "", "", "", "other", "3"};
    server.say(palink::Record{3, pa::RecordKind::Source, 2, notReportedAgain});
    connection.waitUntilDelivered(passing(10min));
    server.lockHolder = "other";
    lose();
    connection.requireConnected(passing(10min));
    connection.waitUntilDelivered(passing(10min));
    EXPECT_EQ(changes(),
              "disconnected2; connected3; synced3; 1: " + own + " -> other; 2: other -> ; ");

    connection.link().stop();
    server.lockHolder = "";
    connection.open(passing(10min));
    EXPECT_EQ(changes(), "disconnected3; stopped3; connected4; synced4; ") << "another server";
}

TEST_F(ConnectionOfClientTest, AConnectionThatStaysAwayIsAnErrorAfterTheLimit) {
    EXPECT_EQ(connection.awayFor(), 0ms);
    nowMS += 3'600'000;
    server.takesClients = false;
    lose();
    EXPECT_EQ(thrownBy<NotConnected>([&] { connection.requireConnected(passing(2s)); }),
              "the connection to the server is lost: cable pulled");
    EXPECT_GE(connection.awayFor(), 2s);
    EXPECT_LT(connection.awayFor(), 1h);
    EXPECT_THROW(connection.waitUntilDelivered(passing(2s)), NotConnected);
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
    const pa::RecordFields source{"2", "", "", "", "", "", "", "", "", "", "3"};
    server.say(palink::Record{3, pa::RecordKind::Source, 2, source});  // notified of later
    connection.waitUntilDelivered(passing(10min));
    EXPECT_EQ(all.waiting(), 1002U);
}

}  // namespace
