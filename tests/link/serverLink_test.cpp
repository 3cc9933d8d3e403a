#include "link/ServerLink.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "framework/levelMeter.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "tests/link/ScriptedServer.h"
#include "tests/support/noPauses.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace std::chrono_literals;

struct ServerLinkTest : testing::Test {
    ServerLinkTest() {
        skipPauses();
        pa::setLogSink([this](const pa::LogLine& line) { errors += line.text + "\n"; });
        link.start();
    }
    ~ServerLinkTest() override {
        link.stop();
        pa::setLogSink({});
        pa::setTimeSource({});
        pa::store(gAudioServerInstance, nullptr);
        pa::store(gIndirectCXSConnection, false);
    }

    std::string errors;
    ScriptedServer server;
    palink::EmbeddedTransport transport{server};
    AudioServer& audioServer = newFacade();
    palink::ServerLink link{audioServer, transport};
};

TEST_F(ServerLinkTest, FillsTheCachesAndTheGlobals) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    EXPECT_TRUE(link.isConnected());
    EXPECT_EQ(gLocalDstNo, 3);
    EXPECT_EQ(gActiveAudioServerDstNo, 4);
    EXPECT_TRUE(gIndirectCXSConnection);
    EXPECT_EQ(audioServer.getServerInfo().get_value("name"), "Test");
    EXPECT_EQ(gPaController.getPaSources().size(), 1U);
    EXPECT_EQ(gPaController.getPaZones().size(), 1U);
    EXPECT_EQ(gAudioServerInstance, &audioServer);
}

TEST_F(ServerLinkTest, CarriesOperationsAndUploads) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    gPaController.cancelMessage(Message::TTS);
    EXPECT_EQ(server.operations(1)[0], "\"\",4");
    EXPECT_EQ(audioServer.uploadFileToActiveServer("/a", "/good"), 1);
    EXPECT_NE(audioServer.uploadFileToActiveServer("/a", "/bad"), 1);
    EXPECT_EQ(errors, "upload of /a: no space\n");
}

TEST_F(ServerLinkTest, TellsOfRefusals) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    server.say(palink::Refusal{pa::operations::playMessage, "r", "no such zone"});
    transport.waitUntilDelivered();
    EXPECT_EQ(errors, "the server refuses operation 92/17 of request >r<: no such zone\n");

    const auto refuseTo = [this](const palink::ServerLink::RefusalHandler& handler) {
        errors.clear();
        link.setRefusalHandler(handler);
        server.say(palink::Refusal{pa::operations::playMessage, "r", "busy"});
        transport.waitUntilDelivered();
        return errors;
    };
    std::string reason;
    EXPECT_EQ(refuseTo([&](const palink::Refusal& refusal) { reason = refusal.reason; }), "");
    EXPECT_EQ(reason, "busy");
    EXPECT_EQ(refuseTo([](const palink::Refusal&) { throw std::runtime_error("oh"); }),
              "a handler of the server link threw >oh<\n");
    EXPECT_EQ(refuseTo([](const palink::Refusal&) { throw 5; }),
              "a handler of the server link threw\n");
}

TEST_F(ServerLinkTest, WhatAReplacedHandlerOwnsMayUseTheLinkWhenItIsDestroyed) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    struct Owned {
        explicit Owned(const palink::ServerLink& l) : link(l) {}
        ~Owned() { EXPECT_TRUE(link.isConnected()); }
        const palink::ServerLink& link;
    };
    const auto owned = [this] { return std::make_shared<Owned>(link); };
    link.setRefusalHandler([o = owned()](const palink::Refusal&) {});
    link.setRefusalHandler({});
    link.setLevelHandler([o = owned()](const palink::LevelReading&) {});
    link.setLevelHandler({});
}

TEST_F(ServerLinkTest, FeedsLevelMetersFromEachConnection) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    using Feeds = std::vector<std::string>;
    double level = 0.0;
    subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
    EXPECT_EQ(server.feeds(1), Feeds{"+3"});
    subscribeUnsubscribeToResAmpVUMeterElement(true, 5);
    EXPECT_EQ(server.feeds(2).back(), "+5");
    subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
    subscribeUnsubscribeToResAmpVUMeterElement(false, 5);
    EXPECT_EQ(server.feeds(3).back(), "-5");
    server.say(palink::LevelReading{3, -1.0});  // no handler is set
    link.setLevelHandler([&level](const palink::LevelReading& reading) { level = reading.level; });
    server.say(palink::LevelReading{3, -12.5});
    server.say(palink::Connected{3, 4, false, {}});
    transport.waitUntilDelivered();
    EXPECT_EQ(level, -12.5);
    EXPECT_EQ(errors, "");
    EXPECT_EQ(server.feeds(4), (Feeds{"+3", "+5", "-5", "+3"}));
    link.stop();
    subscribeUnsubscribeToResAmpVUMeterElement(false, 3);
    EXPECT_EQ(server.feeds().size(), 4U);
}

TEST_F(ServerLinkTest, ALostConnectionKeepsTheCachesAndANewOneEmptiesThem) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    server.say(palink::Disconnected{"cable pulled"});
    transport.waitUntilDelivered();
    EXPECT_FALSE(link.isConnected());
    EXPECT_FALSE(link.waitUntilReady(0s));
    EXPECT_EQ(gPaController.getPaZones().size(), 1U);
    EXPECT_EQ(errors, "the connection to the server is lost: cable pulled\n");
    gPaController.cancelMessage(Message::TTS);
    EXPECT_TRUE(server.operations().empty()) << "operations wait for the link";
    server.say(palink::Connected{3, 4, false, {}});
    server.say(palink::InitialSetComplete{});
    ASSERT_TRUE(link.waitUntilReady(10s));
    EXPECT_TRUE(gPaController.getPaZones().empty());
    EXPECT_EQ(server.operations(1)[0], "\"\",4");
}

TEST_F(ServerLinkTest, AtANewConnectionTheZonesThatWereReportedAreWithdrawn) {
    struct Zones : pa::PAControllerObserverAdapter {
        void onPaZoneDelete(std::string id) override { deleted += id; }
        std::string deleted;
    };
    static auto& zones = *new Zones;  // must outlive the controller
    gPaController.registerObserver(&zones);
    ASSERT_TRUE(link.waitUntilReady(10s));
    server.say(palink::Connected{1, 0, true, {}});  // the local server replaces it
    server.say(palink::Record{1, pa::RecordKind::Zone, 1, {"Hall"}});
    transport.waitUntilDelivered();
    zones.deleted.clear();
    server.say(palink::Connected{1, 4, true, {}});
    transport.waitUntilDelivered();
    EXPECT_NE(zones.deleted.find("Hall"), std::string::npos);
}

TEST_F(ServerLinkTest, LeavesNothingThatLevelMetersWouldCall) {
    link.stop();
    for (int i = 0; i < 50; ++i) {
        ScriptedServer shortLived;
        {
            palink::EmbeddedTransport way(shortLived);
            palink::ServerLink(audioServer, way).start();  // and stops while it connects
        }
        subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
        subscribeUnsubscribeToResAmpVUMeterElement(false, 3);
        EXPECT_TRUE(shortLived.feeds().empty());
    }
}

std::atomic<bool> timePasses{true};

/// From now on a pause lasts until time passes again.
void holdTime() {
    timePasses = false;
    skipPauses([](int) {
        while (!timePasses) {
            std::this_thread::yield();
        }
    });
}

TEST_F(ServerLinkTest, MayStopAndStartAgain) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    link.stop();
    EXPECT_FALSE(link.isConnected());
    EXPECT_NE(audioServer.uploadFileToActiveServer("/a", "/good"), 1);
    gPaController.initPaResources();
    holdTime();
    link.start();
    while (gPaController.getPaZones().empty()) {
        std::this_thread::yield();  // until the source before the zone has been merged
    }
    bool passed = false;
    std::thread waiting([&] {
        link.waitUntilHandled();
        passed = timePasses;
    });
    for (int i = 0; i < 1000; ++i) {
        std::this_thread::yield();
    }
    timePasses = true;
    waiting.join();
    EXPECT_TRUE(passed) << "the source is notified of before";
    EXPECT_TRUE(link.waitUntilReady(10s));
}

TEST_F(ServerLinkTest, StopsThoughNotificationsHaveFilledTheirQueue) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    holdTime();
    constexpr int space = palink::Notifier::capacity;
    for (int key = 1; key <= space + 10; ++key) {
        server.say(palink::Record{3, pa::RecordKind::Source, key, {std::to_string(key)}});
    }
    while (!gPaController.findPaSource(space)) {
        std::this_thread::yield();  // the next record waits
    }
    link.stop(0ms);
    timePasses = true;
    EXPECT_EQ(errors.find("the link has stopped: 1000"), 0U) << errors;
    EXPECT_NE(errors.find(" notifications and withdrawals are dropped"), std::string::npos);
}

TEST_F(ServerLinkTest, OneLinkOfTheProcessIsStartedAtATime) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    ScriptedServer otherServer;
    palink::EmbeddedTransport otherTransport(otherServer);
    AudioServer& otherFacade = newFacade();
    palink::ServerLink other(otherFacade, otherTransport);
    EXPECT_EQ(thrownBy<std::logic_error>([&] { other.start(); }),
              "another ServerLink of this process is started: it has the send queue, the uploads "
              "and the level meters until it is stopped");
    other.stop();
    link.start();  // as it is
    EXPECT_EQ(gAudioServerInstance, &audioServer);
    EXPECT_EQ(audioServer.uploadFileToActiveServer("/a", "/good"), 1);
    gPaController.cancelMessage("the first");
    EXPECT_EQ(server.operations(1)[0], "\"the first\"");

    link.stop();
    other.start();
    ASSERT_TRUE(other.waitUntilReady(10s));
    EXPECT_EQ(gAudioServerInstance, &otherFacade);
    gPaController.cancelMessage("the second");
    EXPECT_EQ(otherServer.operations(1)[0], "\"the second\"");
    EXPECT_EQ(errors, "");
}

/// Fails its first start.
struct BrokenServer : ScriptedServer {
    void connectClient(palink::ServerEventSink& client) override {
        if (!std::exchange(tried, true)) {
            throw std::runtime_error("no licence");
        }
        ScriptedServer::connectClient(client);
    }
    bool tried = false;
};

TEST_F(ServerLinkTest, ALinkThatCannotStartIsStopped) {
    link.stop();
    BrokenServer broken;
    palink::EmbeddedTransport otherTransport(broken);
    palink::ServerLink other(audioServer, otherTransport);
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { other.start(); }), "no licence");
    other.start();
    EXPECT_TRUE(other.waitUntilReady(10s));
    other.stop();
    link.start();
    EXPECT_TRUE(link.waitUntilReady(10s));
}

}  // namespace
