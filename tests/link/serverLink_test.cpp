#include "link/ServerLink.h"

#include <future>
#include <gtest/gtest.h>
#include <string>

#include "framework/log.h"
#include "link/EmbeddedTransport.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

namespace {

using namespace std::chrono_literals;

/// A server whose words the test chooses.
class ScriptedServer : public palink::EmbeddedServer {
public:
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
    void handleOperation(const Operation& operation) override { received_.set_value(operation); }
    palink::UploadResult storeFile(const std::string& /*localPath*/,
                                   const std::string& serverPath) override {
        return serverPath == "/good" ? palink::UploadResult{true, ""}
                                     : palink::UploadResult{false, "no room"};
    }
    void say(palink::ServerEvent event) { client_->deliver(std::move(event)); }
    Operation received() { return received_.get_future().get(); }

private:
    palink::ServerEventSink* client_ = nullptr;
    std::promise<Operation> received_;
};

struct ServerLinkTest : testing::Test {
    ServerLinkTest() {
        skipPauses();
        setLogSink([this](const LogLine& line) { errors += line.text + "\n"; });
        link.start();
    }
    ~ServerLinkTest() override {
        link.stop();
        setLogSink({});
        setTimeSource({});
        gAudioServerInstance = nullptr;
        gIndirectCXSConnection = false;
    }

    std::string errors;
    ScriptedServer server;
    palink::EmbeddedTransport transport{server};
    AudioServer audioServer{gPaController};
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

    std::string reason;
    link.setRefusalHandler([&reason](const palink::Refusal& refusal) { reason = refusal.reason; });
    server.say(palink::Refusal{92, 17, "r", "busy"});
    transport.waitUntilDelivered();
    EXPECT_EQ(reason, "busy");
}

TEST_F(ServerLinkTest, ALostConnectionKeepsTheCachesAndANewOneEmptiesThem) {
    ASSERT_TRUE(link.waitUntilReady(10s));
    server.say(palink::Disconnected{"cable pulled"});
    transport.waitUntilDelivered();
    EXPECT_FALSE(link.isConnected());
    EXPECT_FALSE(link.waitUntilReady(0s));
    EXPECT_EQ(gPaController.getPaZones().size(), 1U);
    EXPECT_EQ(errors, "the connection to the server is lost: cable pulled\n");
    server.say(palink::Connected{3, 4, false, {}});
    server.say(palink::InitialSetComplete{});
    ASSERT_TRUE(link.waitUntilReady(10s));
    EXPECT_TRUE(gPaController.getPaZones().empty());
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
