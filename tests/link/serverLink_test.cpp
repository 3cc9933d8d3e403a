#include "link/ServerLink.h"

#include <future>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "framework/levelMeter.h"
#include "framework/log.h"
#include "link/EmbeddedTransport.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

namespace {

using namespace std::chrono_literals;

/// A server whose words the test chooses.
class ScriptedServer : public palink::EmbeddedServer {
public:
    void meterLevel(bool subscribe, int element) override {
        feeds += (subscribe ? "+" : "-") + std::to_string(element) + " ";
    }
    void connectClient(palink::ServerEventSink& client) override {
        client_ = &client;
        palink::Connected connected;
        connected.localDstNo = 3;
        connected.activeDstNo = 4;
        connected.indirect = true;
        connected.serverInfo.set("name", "Test");
        say(connected);
        say(palink::Record{
            3, palink::RecordKind::Source, 1, {"1", "", "", "", "", "", "", "", "", "", "3"}});
        say(palink::Record{4, palink::RecordKind::Zone, 1, {"Z"}});
        say(palink::InitialSetComplete{});
    }
    void disconnectClient() override { client_ = nullptr; }
    void handleOperation(const pa::Operation& operation) override {
        received_.set_value(operation);
    }
    palink::UploadResult storeFile(const std::string& /*localPath*/,
                                   const std::string& serverPath) override {
        return serverPath == "/good" ? palink::UploadResult{true, ""}
                                     : palink::UploadResult{false, "no room"};
    }
    void say(palink::ServerEvent event) { client_->deliver(std::move(event)); }
    pa::Operation received() { return receiving_.get(); }
    std::string feeds;
    bool hasReceived() { return receiving_.wait_for(50ms) == std::future_status::ready; }

private:
    palink::ServerEventSink* client_ = nullptr;
    std::promise<pa::Operation> received_;
    std::future<pa::Operation> receiving_ = received_.get_future();
};

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
        gAudioServerInstance = nullptr;
        gIndirectCXSConnection = false;
    }

    /// One for each test, never destroyed.
    static AudioServer* facade() {
        static auto& facades = *new std::vector<AudioServer*>;
        facades.push_back(new AudioServer(gPaController));
        return facades.back();
    }

    std::string errors;
    ScriptedServer server;
    palink::EmbeddedTransport transport{server};
    AudioServer& audioServer = *facade();
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
    EXPECT_EQ(server.received().payload, "\"\",4");
    EXPECT_EQ(audioServer.uploadFileToActiveServer("/a", "/good"), 1);
    EXPECT_NE(audioServer.uploadFileToActiveServer("/a", "/bad"), 1);
    EXPECT_EQ(errors, "upload of /a: no room\n");
}

TEST_F(ServerLinkTest, TellsOfRefusals) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    server.say(palink::Refusal{92, 17, "r", "no such zone"});
    transport.waitUntilDelivered();
    EXPECT_EQ(errors, "the server refuses operation 92/17 of request >r<: no such zone\n");

    const auto refuseTo = [this](const palink::ServerLink::RefusalHandler& handler) {
        errors.clear();
        link.setRefusalHandler(handler);
        server.say(palink::Refusal{92, 17, "r", "busy"});
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

TEST_F(ServerLinkTest, FeedsLevelMetersFromEachConnection) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    double level = 0.0;
    subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
    subscribeUnsubscribeToResAmpVUMeterElement(true, 5);
    subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
    subscribeUnsubscribeToResAmpVUMeterElement(false, 5);
    server.say(palink::LevelReading{3, -1.0});  // nobody listens
    link.setLevelHandler([&level](const palink::LevelReading& reading) { level = reading.level; });
    server.say(palink::LevelReading{3, -12.5});
    server.say(palink::Connected{3, 4, false, {}});
    transport.waitUntilDelivered();
    EXPECT_EQ(level, -12.5);
    EXPECT_EQ(errors, "");
    link.stop();
    subscribeUnsubscribeToResAmpVUMeterElement(false, 3);
    EXPECT_EQ(server.feeds, "+3 +5 -5 +3 ");
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
    EXPECT_FALSE(server.hasReceived()) << "operations wait for the link";
    server.say(palink::Connected{3, 4, false, {}});
    server.say(palink::InitialSetComplete{});
    ASSERT_TRUE(link.waitUntilReady(10s));
    EXPECT_TRUE(gPaController.getPaZones().empty());
    EXPECT_EQ(server.received().payload, "\"\",4");
}

TEST_F(ServerLinkTest, AtANewConnectionTheZonesThatWereToldOfAreTakenBack) {
    struct Zones : pa::PAControllerObserverAdapter {
        void onPaZoneDelete(std::string id) override { deleted += id; }
        std::string deleted;
    };
    static auto& zones = *new Zones;  // must outlive the controller
    gPaController.registerObserver(&zones);
    ASSERT_TRUE(link.waitUntilReady(10s));
    server.say(palink::Connected{1, 0, true, {}});  // the local server stands in
    server.say(palink::Record{1, palink::RecordKind::Zone, 1, {"Hall"}});
    zones.deleted.clear();
    server.say(palink::Connected{1, 4, true, {}});
    transport.waitUntilDelivered();
    EXPECT_NE(zones.deleted.find("Hall"), std::string::npos);
}

TEST_F(ServerLinkTest, LeavesNothingBehindThatLevelMetersWouldCall) {
    for (int i = 0; i < 50; ++i) {
        ScriptedServer shortLived;
        {
            palink::EmbeddedTransport way(shortLived);
            palink::ServerLink(audioServer, way).start();  // and stops while it connects
        }
        subscribeUnsubscribeToResAmpVUMeterElement(true, 3);
        subscribeUnsubscribeToResAmpVUMeterElement(false, 3);
        EXPECT_EQ(shortLived.feeds, "");
    }
}

TEST_F(ServerLinkTest, MayStopAndStartAgain) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    link.stop();
    EXPECT_FALSE(link.isConnected());
    EXPECT_NE(audioServer.uploadFileToActiveServer("/a", "/good"), 1);
    link.start();
    EXPECT_TRUE(link.waitUntilReady(10s));
}

}  // namespace
