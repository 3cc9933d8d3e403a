// SPDX-License-Identifier: Apache-2.0
#include "framework/levelMeter.h"
#include "tests/link/LinkTest.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace std::chrono_literals;

struct ServerLinkTest : LinkTest {
    ServerLinkTest() { start(); }
    static int upload(const std::string& serverPath) {
        return facade().uploadFileToActiveServer("/a", serverPath);
    }
};

TEST_F(ServerLinkTest, FillsTheCachesAndCarriesOperationsAndUploadsUntilItStops) {
    EXPECT_EQ(gLocalDstNo, 3);
    EXPECT_EQ(gActiveAudioServerDstNo, 4);
    EXPECT_TRUE(gIndirectCXSConnection);
    EXPECT_EQ(facade().getServerInfo().get_value("name"), "Test");
    EXPECT_EQ(gPaController.getPaSources().size(), 1U);
    EXPECT_EQ(gPaController.getPaZones().size(), 1U);
    const std::string sent = cancel("a");
    EXPECT_EQ(server.operations(1)[0], sent);
    EXPECT_EQ(upload("/good"), 1);
    EXPECT_NE(upload("/bad"), 1);
    EXPECT_EQ(log.take(), "E2 upload of /a: no space\n");
    link.stop();
    EXPECT_FALSE(link.isConnected());
    EXPECT_NE(upload("/good"), 1);
    EXPECT_EQ(log.text(), "E2 upload of /a: no connection to the server\n");
}

TEST_F(ServerLinkTest, ReportsRefusalsUnlessAHandlerTakesThem) {
    std::string reason;
    const auto refused = [this](const palink::ServerLink::RefusalHandler& handler) {
        link.setRefusalHandler(handler);
        say(palink::Refusal{pa::operations::playMessage, "r", "no such zone"});
        return log.take();
    };
    EXPECT_EQ(refused({}), "E2 the server refuses operation 92/17 of request >r<: no such zone\n");
    EXPECT_EQ(refused([&](const palink::Refusal& refusal) { reason = refusal.reason; }), "");
    EXPECT_EQ(reason, "no such zone");
    EXPECT_EQ(refused([](const palink::Refusal&) { throw std::runtime_error("oh"); }),
              "E1 a handler threw >oh<\n");
    EXPECT_EQ(refused([](const palink::Refusal&) { throw 5; }), "E1 a handler threw\n");
}

/// Notes that a round trip is back.
struct RoundTrips : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override {
        back.add(std::holds_alternative<palink::RoundTripComplete>(event) ? "back" : "");
    }
    Transcript back;
};

TEST_F(ServerLinkTest, FeedsLevelMetersFromEachConnectionUntilItStops) {
    double level = 0.0;
    {
        const std::lock_guard guard(server.lock);
        subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
        subscribeUnsubscribeToResAmpVUMeterElement(true, 5);
        subscribeUnsubscribeToResAmpVUMeterElement(false, 5);
    }
    server.feeds.waitFor("+3 -5 ");
    link.setLevelHandler([&level](const palink::LevelReading& reading) { level = reading.level; });
    server.say(palink::LevelReading{3, -12.5});
    say(palink::Connected{3, 4, false, {}});
    EXPECT_EQ(server.feeds.waitFor("-5 +3 "), "+3 -5 +3 ");
    EXPECT_EQ(level, -12.5);
    link.stop();
    for (int i = 0; i < 50; ++i) {
        link.start();
        link.stop();  // while it connects
        RoundTrips client;
        transport.start(client);
        server.feeds.take();
        subscribeUnsubscribeToResAmpVUMeterElement(false, 3);
        subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
        EXPECT_TRUE(transport.requestRoundTrip(1));  // which comes after the level meters
        client.back.waitFor("back");
        transport.stop();
        EXPECT_EQ(server.feeds.text(), "");
    }
    subscribeUnsubscribeToResAmpVUMeterElement(false, 3);
}

TEST_F(ServerLinkTest, ALostConnectionKeepsTheCachesAndANewOneWithdrawsWhatTheyHold) {
    struct Zones : pa::PAControllerObserverAdapter {
        void onPaZoneDelete(std::string id) override { deleted += id + " "; }
        std::string deleted;
    };
    static auto& zones = *new Zones;  // must outlive the controller
    gPaController.registerObserver(&zones);
    zones.deleted.clear();
    log.take();
    server.takesClients = false;
    say(palink::Disconnected{"cable pulled"});
    EXPECT_EQ(gPaController.getPaZones().size(), 1U);
    EXPECT_EQ(log.text(), "E2 the connection to the server is lost: cable pulled\n");
    const std::string waiting = cancel("a");
    EXPECT_TRUE(server.operations().empty()) << "operations wait for the link";
    EXPECT_EQ(gQXReceiver.waiting(), 1U);
    say(palink::Connected{1, 0, true, {}});  // the local server replaces the active one
    EXPECT_EQ(server.operations(1)[0], waiting);
    say(palink::Record{1, pa::RecordKind::Zone, 1, {"Hall"}});
    say(palink::Connected{1, 4, true, {}});
    EXPECT_EQ(zones.deleted, "Z Hall ");
}

TEST_F(ServerLinkTest, RecordsAreReportedWhenTheyAreInTheCaches) {
    std::string holders;
    link.setRecordHandler([&holders](const palink::HandledRecord&) {
        holders += gPaController.getPaSourceLocks().at(0).lockedUUID + " ";
    });
    const auto report = [this](const std::string& holder, const std::string& from) {
        const std::string no;
        say(palink::Record{
            3, pa::RecordKind::Source, 1, {"1", no, no, no, no, no, no, no, no, holder, from}});
    };
    timePasses = false;
    report("before", "3");
    say(palink::Withdrawal{3, pa::RecordKind::Source, 1});
    report("after", "3");    // is merged after the withdrawal
    report("dropped", "9");  // of another server
    timePasses = true;
    link.waitUntilHandled();
    EXPECT_EQ(holders, "before after ");
}

/// Time passes in the observer and in the pause of the source, nowhere else.
TEST_F(ServerLinkTest, MeasuresRecordsFromTheirArrivalUntilTheirObserversHaveBeenCalled) {
    struct SlowObserver : pa::PAControllerObserverAdapter {
        void onPaZoneUpdate(PaZone zone) override { onZone(zone.id); }
        void onPaSourceUpdate(PaSource /*source*/) override { nowMS += 7; }
        std::function<void(const std::string&)> onZone;
    };
    static auto& observer = *new SlowObserver;  // must outlive the controller
    const auto sayZone = [this](const std::string& id, int key = 11) {
        server.say(palink::Record{4, pa::RecordKind::Zone, key, {id}});
    };
    observer.onZone = [&](const std::string& id) {
        if (id == "first") {
            sayZone("second");  // waits for 30 ms
            for (int key = 101; key < 200; ++key) {
                sayZone("other " + std::to_string(key), key);  // likewise, of two batches
            }
            EXPECT_EQ(transport.eventsWaiting(), 101U) << "with the first";
            nowMS += 30;
        } else if (id == "second") {
            nowMS += 20;
        }
    };
    transport.waitUntilDelivered();
    gPaController.registerObserver(&observer);
    const palink::RecordDurations before = link.recordDurations();
    sayZone("first");
    transport.waitUntilDelivered();
    observer.onZone = [](const std::string& /*id*/) {};
    say(palink::Record{3, pa::RecordKind::Source, 1, {"1", "changed"}});
    link.waitUntilHandled();
    const palink::RecordDurations after = link.recordDurations();
    EXPECT_EQ(after.direct.sum - before.direct.sum, 30ms + 100 * 50ms);
    EXPECT_EQ(after.direct.counts[8] - before.direct.counts[8], 101U) << "above 25 ms, up to 50 ms";
    EXPECT_EQ(after.paused.sum - before.paused.sum, 107ms);
    EXPECT_EQ(after.paused.counts[10] - before.paused.counts[10], 1U) << "up to 250 ms";
}

TEST_F(ServerLinkTest, StopsThoughNotificationsHaveFilledTheirQueue) {
    timePasses = false;
    constexpr int space = palink::Notifier::capacity;
    for (int key = 1; key <= space + 10; ++key) {
        server.say(palink::Record{3, pa::RecordKind::Source, key, {std::to_string(key)}});
    }
    until([] { return gPaController.findPaSource(space).has_value(); });  // the next record waits
    link.stop(0ms);
    timePasses = true;
    EXPECT_EQ(log.text().find("E2 the link has stopped: 1000"), 0U);
}

TEST_F(ServerLinkTest, OneLinkOfTheProcessIsStartedAtATime) {
    static AudioServer& otherFacade = *new AudioServer(gPaController);
    ScriptedServer otherServer;
    palink::EmbeddedTransport otherTransport(otherServer);
    palink::ServerLink other(otherFacade, otherTransport);
    EXPECT_EQ(thrownBy<std::logic_error>([&] { other.start(); }),
              "another ServerLink of this process is started: it has the send queue, the uploads "
              "and the level meters until it is stopped");
    other.stop();
    link.start();  // as it is
    EXPECT_EQ(gAudioServerInstance, &facade());
    EXPECT_EQ(upload("/good"), 1);
    link.stop();
    otherServer.takesClients = false;
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { other.start(); }), "closed");
    otherServer.takesClients = true;
    other.start();
    EXPECT_TRUE(other.waitUntilReady(10s));
    EXPECT_EQ(gAudioServerInstance, &otherFacade);
}

}  // namespace
