// SPDX-License-Identifier: Apache-2.0
/// What an application is notified of: its connection and the operations that are dropped; and what
/// a stop does with those that wait.
#include "tests/link/LinkTest.h"

namespace {

using namespace std::chrono_literals;
using State = palink::ConnectionChange::State;

struct ConnectionTest : LinkTest {
    ConnectionTest() {
        link.setConnectionHandler([this](const palink::ConnectionChange& change) {
            static const char* const names[] = {"connected", "synced", "disconnected", "stopped"};
            changes += names[static_cast<int>(change.state)] + std::to_string(change.number) +
                       (change.reason.empty() ? " " : " (" + change.reason + ") ");
            const bool up = change.state == State::Connected || change.state == State::Synced;
            EXPECT_EQ(link.isConnected(), up);
            EXPECT_EQ(link.waitUntilReady(0s), change.state == State::Synced);
            EXPECT_TRUE(timePasses || change.state != State::Synced) << "in the pause of a source";
            std::thread([this] {
                EXPECT_FALSE(link.waitUntilReady(0s)) << "before the handler has returned";
            }).join();
            notifyingThread = std::this_thread::get_id();
        });
        link.setDropHandler([this](const palink::DroppedOperation& dropped) {
            drops.add(dropped.requestId + ": " + dropped.text + "\n");
        });
    }
    ~ConnectionTest() override { link.stop(0ms); }

    std::string changes;
    std::thread::id notifyingThread;
    Transcript drops;
};

TEST_F(ConnectionTest, IsReportedStepByStep) {
    gPaController.initPaResources();
    timePasses = false;
    link.start();
    until([] { return !gPaController.getPaZones().empty(); });  // which come after the source
    for (int i = 0; i < 1000; ++i) {
        std::this_thread::yield();
    }
    timePasses = true;
    EXPECT_TRUE(link.waitUntilReady(10s));
    EXPECT_EQ(changes, "connected1 synced1 ");
    server.takesClients = false;
    server.say(palink::InitialSetComplete{});
    server.say(palink::Disconnected{"cable pulled"});
    server.say(palink::Disconnected{"still pulled"});
    server.say(palink::InitialSetComplete{});
    server.say(palink::Connected{});
    say(palink::Connected{});  // it was restarted, without a disconnection
    EXPECT_EQ(changes,
              "connected1 synced1 disconnected1 (cable pulled) connected2 "
              "disconnected2 (the server has connected again) connected3 ");
    EXPECT_NE(notifyingThread, std::this_thread::get_id());
    changes.clear();
    link.stop();
    EXPECT_EQ(changes, "disconnected3 (the link was stopped) stopped3 ");
    EXPECT_EQ(notifyingThread, std::this_thread::get_id());
    changes.clear();
    link.stop();
    server.takesClients = true;
    start();
    say(palink::Disconnected{"off"});
    cancel("a");
    link.stop(1s);  // by a clock that does not advance
    EXPECT_EQ(changes, "connected4 synced4 disconnected4 (off) stopped4 ");
    EXPECT_EQ(drops.text(), "a: the link was stopped\n") << "there is no connection to wait for";
}

TEST_F(ConnectionTest, AStopReportsWhatItCannotSend) {
    Transcript steps;
    server.onOperation = [&](const pa::Operation&) {
        steps.add("handling");
        steps.waitFor("disconnected");
    };
    server.onDisconnect = [&] { steps.add("disconnected"); };
    start();
    const std::string sent = cancel("a");
    cancel("b");
    cancel("c");
    steps.waitFor("handling");
    perLookMS = 1000;
    link.stop(1500ms);
    EXPECT_EQ(server.operations(), std::vector{sent});
    EXPECT_EQ(drops.text(), "b: the link was stopped\nc: the link was stopped\n")
        << "reported before stop returns";
}

/// A server thread that cannot say all it has to say waits with the server's lock, which the
/// operation that is being handled waits for.
TEST_F(ConnectionTest, ALossIsHandledWhileTheServerIsHeldBack) {
    palink::EmbeddedTransport narrow(server, 1);
    palink::ServerLink other(facade(), narrow);
    Transcript steps;
    server.onOperation = [&](const pa::Operation&) { steps.add("handling"); };
    other.start();
    ASSERT_TRUE(other.waitUntilReady(10s));
    {
        const std::lock_guard guard(server.lock);
        cancel("a");
        steps.waitFor("handling");
        server.say(palink::Disconnected{"restarted"});
        server.say(palink::Connected{});
        server.say(palink::InitialSetComplete{});
    }
    EXPECT_TRUE(other.waitUntilReady(10s));
    EXPECT_EQ(server.operations(1)[0], "\"a\"");
}

}  // namespace
