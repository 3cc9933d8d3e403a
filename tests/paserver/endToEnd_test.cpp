// SPDX-License-Identifier: Apache-2.0
#include <numeric>

#include "client/Announcement.h"
#include "client/Connection.h"
#include "client/confirmedOperations.h"
#include "paserver/RemoteEndpoint.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "simserver/protocol/Refused.h"
#include "tests/host/HostTest.h"
#include "tests/paserver/BrokerServerTest.h"
#include "tests/support/thrownBy.h"

namespace {

using paclient::Announcement;

/// The client library on the broker.
struct RemoteClientTest : BrokerServerTest {
    RemoteClientTest() { start(); }

    void open() { connection.open({limit}); }

    /// Of 3 s by the station's clock.
    static Message message() {
        Message made;
        made.setAudioMessage({12, 40});
        return made;
    }

    static constexpr std::chrono::seconds limit{10};
    paserver::RemoteEndpoint endpoint{broker.options(), paclient::audioServer().getUUID()};
    paclient::Connection connection{endpoint};
};

TEST_F(RemoteClientTest, AnAnnouncementOfAnUploadedFileIsSeenByEveryClient) {
    open();
    EXPECT_EQ(connection.serverInfo().get_value("name"), "Small");
    EXPECT_EQ(gDeviceIPAddress, "127.0.0.1") << "towards the broker";
    Message file;
    file.setAudioMessage(folder.writeWav("long.wav", 480'000), Message::L16_48K);
    Announcement announcement({"Yard"}, file);
    EXPECT_EQ(announcement.wait({limit}), Announcement::State::Finished) << announcement.reason();
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "spool3" / "long.wav"));
    connection.waitUntilDelivered({limit});
    const std::string topic = palink::topics::record(3, pa::RecordKind::Announcement, 1);
    EXPECT_TRUE(client.waitFor([&] { return client.countOf(topic) >= 4; }))
        << "queued, playing, finished, withdrawn";
    const std::string others = R"("request-1",0,500,"2,ip,\"Yard\",12!0,,0^0^0")";
    EXPECT_EQ(askFor(pa::operations::playMessage, others), "accepted");
    connection.waitUntilDelivered({limit});
    ASSERT_EQ(gPaController.getAnnouncementRequests().size(), 1U);
    EXPECT_EQ(gPaController.getAnnouncementRequests()[0].getRequestID(), "request-1");

    const auto measured = connection.link().recordDurations();
    const auto totalOf = [](const pa::Durations& durations) {
        return std::accumulate(durations.counts.begin(), durations.counts.end(), std::uint64_t{0});
    };
    EXPECT_EQ(totalOf(measured.paused), gPaController.getPaSources().size());
    EXPECT_GE(totalOf(measured.direct), gPaController.getPaSinks().size() + 4);
    EXPECT_GE(measured.paused.sum, std::chrono::milliseconds(100)) << "the pause is part of it";

    Announcement refused({"Moon"}, message());
    EXPECT_EQ(refused.wait({limit}), Announcement::State::Refused);
    EXPECT_NE(refused.reason().find("Moon"), std::string::npos) << refused.reason();
}

TEST_F(RemoteClientTest, AnotherServerTakesOverWithOneReconnection) {
    paserver::ServerSettings other = settings(4);
    other.role = palink::ServerRole::Standby;
    other.precedence = 2;
    paserver::BrokerServer second(other);
    EXPECT_TRUE(client.sync(4));
    open();
    server.reset();
    EXPECT_TRUE(client.waitFor([this] { return client.isActive(4); }));
    Announcement waiting({"Yard"}, message());  // in the queue until the other is there
    EXPECT_EQ(waiting.wait({limit}), Announcement::State::Finished) << waiting.reason();
    EXPECT_EQ(connection.number(), 2U) << "one reconnection";
    EXPECT_EQ(endpoint.transport().statistics().dstNo, 4);
}

TEST_F(RemoteClientTest, OfTwoClientsThatWantASourceOneHasIt) {
    server.reset();
    paserver::ServerSettings slower = settings();
    slower.simulation.speed = 1;  // no lock lapses
    server = std::make_unique<paserver::BrokerServer>(slower);
    open();
    const auto others = [this](const pa::OperationType& type) {
        return client.operation(type, "9," + client.uuid());
    };
    const auto first = others(pa::operations::attachSource);
    client.publish(first);
    // Once it sees the other's lock it sends nothing, and waits.
    static_cast<void>(paclient::takeLock(9, {std::chrono::milliseconds(500)}));
    const auto answer = client.answerTo(first);
    connection.waitUntilDelivered({limit});
    const bool isOwn = paclient::lockHolder(9) == paclient::ownUUID();
    EXPECT_NE(answer && answer->accepted, isOwn);
    if (!isOwn) {
        EXPECT_EQ(client.ask(others(pa::operations::detachSource)), "accepted");
        connection.waitUntilDelivered({limit});
        EXPECT_TRUE(paclient::takeLock(9, {limit}).holds());
    }
    EXPECT_EQ(client.ask(others(pa::operations::attachSource)),
              "source 9 is locked by another client");
    EXPECT_TRUE(paclient::releaseLock(9, {limit}).holds());
    EXPECT_EQ(client.ask(others(pa::operations::attachSource)), "accepted");
    connection.waitUntilDelivered({limit});
    EXPECT_EQ(paclient::takeLock(9, {limit}).reason,
              "another client holds its lock (" + client.uuid() + ")");
}

TEST_F(RemoteClientTest, APlayOutlastsABrokerThatIsFrozenOrStartsAgain) {
    open();
    const std::int64_t generation = client.status(3).generation;
    for (const bool startsAgain : {false, true}) {
        Message endless;
        endless.setAudioMessage({12});
        endless.setRepeatCnt(0);
        Announcement announcement({"Yard"}, endless);
        until([&] { return announcement.state() == Announcement::State::Playing; });
        if (startsAgain) {
            broker.kill();
            broker.restart();
        } else {
            broker.signal(SIGSTOP);
            advancedMS += 10'000;
            broker.signal(SIGCONT);
        }
        until([&] { return connection.number() == (startsAgain ? 2U : 1U); });
        EXPECT_EQ(announcement.state(), Announcement::State::Playing);
        EXPECT_EQ(announcement.cancel({limit}).state, paclient::Confirmation::State::Done);
        connection.waitUntilDelivered({limit});
        EXPECT_TRUE(gPaController.getAnnouncementRequests().empty());
        for (const PaZone& zone : gPaController.getPaZones()) {
            EXPECT_EQ(zone.activity, 0) << zone.id;
        }
        EXPECT_TRUE(client.sync());
    }
    EXPECT_EQ(client.status(3).generation, generation);
}

TEST_F(RemoteClientTest, UsesTheOwnSideOfTheServer) {
    open();
    simserver::SimControl* const control = endpoint.simControl();
    ASSERT_NE(control, nullptr);
    control->lockSource(9, "another");
    connection.waitUntilDelivered({limit});
    const auto locks = gPaController.getPaSourceLocks();
    ASSERT_EQ(locks.size(), 1U);
    EXPECT_EQ(locks[0].lockedUUID, "another");
    EXPECT_EQ(thrownBy<simserver::Refused>([&] { control->setTrigger(1, true); }),
              "there is no trigger 1");
    control->ignoreRenewals(true);
    EXPECT_TRUE(control->ignored().renewals);
    EXPECT_FALSE(control->ignored().requests);
    const simserver::Contents contents = control->contents();
    ASSERT_EQ(contents.dictionary.size(), 3U);
    EXPECT_EQ(contents.dictionary[0].text, "Chime");
    EXPECT_TRUE(contents.dictionary[0].chime);
    EXPECT_EQ(contents.dictionary[0].duration, std::chrono::milliseconds(500));
    control->restart();
    EXPECT_TRUE(client.waitFor([this] { return client.isActive(3) && client.isSynced(3); }));
    connection.requireConnected({limit});
}

}  // namespace
