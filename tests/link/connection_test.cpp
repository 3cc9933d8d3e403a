/// What an application is notified of: its connection and the operations that are dropped; and what
/// a stop does with those that wait.

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "framework/clock.h"
#include "framework/log.h"
#include "link/ServerLink.h"
#include "sdk/globals.h"
#include "tests/link/ScriptedServer.h"

namespace {

using namespace std::chrono_literals;
using State = palink::ConnectionChange::State;
using Reason = palink::DroppedOperation::Reason;

std::atomic<std::int64_t> nowMS{0};
std::atomic<std::int64_t> perLookMS{0};  // time passes so much whenever it is looked at

struct ConnectionTest : testing::Test {
    ConnectionTest() {
        pa::TimeSource source;
        source.monotonicMS = [] { return nowMS += perLookMS; };
        source.sleepMS = [](int) {};
        pa::setTimeSource(source);
        pa::setLogSink([this](const pa::LogLine& line) {
            lines += line.level == 2 && line.text.find("dropped after") != std::string::npos;
        });
        link.setConnectionHandler([this](const palink::ConnectionChange& change) {
            static const char* const names[] = {"connected", "synced", "disconnected", "stopped"};
            changes += names[static_cast<int>(change.state)] + std::to_string(change.number) +
                       (change.reason.empty() ? " " : " (" + change.reason + ") ");
            const bool up = change.state == State::Connected || change.state == State::Synced;
            EXPECT_EQ(link.isConnected(), up);
            EXPECT_EQ(link.waitUntilReady(0s), change.state == State::Synced);
            notifyingThread = std::this_thread::get_id();
        });
        link.setDropHandler([this](const palink::DroppedOperation& dropped) {
            const std::lock_guard guard(lock);
            drops.push_back(dropped);
        });
    }
    ~ConnectionTest() override {
        link.stop();
        pa::setLogSink({});
        pa::setTimeSource({});
        pa::store(gAudioServerInstance, nullptr);
        pa::store(gIndirectCXSConnection, false);
    }

    std::vector<palink::DroppedOperation> dropped() {
        const std::lock_guard guard(lock);
        return drops;
    }
    static std::string cancel(const std::string& id) {
        gPaController.cancelMessage(id);
        return '"' + id + '"';
    }

    std::string changes;
    std::thread::id notifyingThread;
    std::atomic<int> lines{0};  // that report a drop
    std::mutex lock;
    std::vector<palink::DroppedOperation> drops;  // guarded by lock
    ScriptedServer server;
    palink::EmbeddedTransport transport{server};
    palink::ServerLink link{newFacade(), transport};
};

TEST_F(ConnectionTest, IsReportedStepByStep) {
    link.start();
    ASSERT_TRUE(link.waitUntilReady(10s));
    EXPECT_EQ(changes, "connected1 synced1 ") << "notified before a wait ends";
    server.say(palink::InitialSetComplete{});
    server.say(palink::Disconnected{"cable pulled"});
    server.say(palink::Disconnected{"still pulled"});
    server.say(palink::InitialSetComplete{});
    server.say(palink::Connected{});
    server.say(palink::Connected{});  // it was restarted, without a disconnection
    transport.waitUntilDelivered();
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
    link.start();
    ASSERT_TRUE(link.waitUntilReady(10s));
    server.say(palink::Disconnected{"off"});
    transport.waitUntilDelivered();
    link.stop();
    EXPECT_EQ(changes, "connected4 synced4 disconnected4 (off) stopped4 ");
}

TEST_F(ConnectionTest, AStopSendsWhatWaits) {
    link.start();
    ASSERT_TRUE(link.waitUntilReady(10s));
    std::vector<std::string> asked;
    for (int i = 0; i < 3000; ++i) {
        asked.push_back(cancel("request " + std::to_string(i)));
    }
    link.stop();
    EXPECT_EQ(server.operations(), asked);
    EXPECT_TRUE(dropped().empty());

    cancel("late");
    while (dropped().empty()) {
        std::this_thread::yield();
    }
    EXPECT_EQ(dropped()[0].requestId, "late") << "also when it is stopped";
    EXPECT_EQ(dropped()[0].reason, Reason::Stopped);
    link.start();
    ASSERT_TRUE(link.waitUntilReady(10s));
    asked.push_back(cancel("again"));
    EXPECT_EQ(server.operations(3001), asked);
}

TEST_F(ConnectionTest, AStopReportsWhatItCannotSend) {
    std::mutex gate;
    std::unique_lock closed(gate);
    std::atomic<bool> handling{false};
    server.onOperation = [&](const pa::Operation&) {
        handling = true;
        const std::lock_guard guard(gate);
    };
    server.onDisconnect = [&] { closed.unlock(); };
    link.start();
    ASSERT_TRUE(link.waitUntilReady(10s));
    for (const char* const id : {"a", "b", "c"}) {
        cancel(id);
    }
    while (!handling) {
        std::this_thread::yield();
    }
    perLookMS = 1000;
    link.stop(1500ms);
    perLookMS = 0;
    EXPECT_EQ(server.operations(), std::vector<std::string>{"\"a\""});
    const auto left = dropped();
    ASSERT_EQ(left.size(), 2U) << "reported before stop returns";
    EXPECT_EQ(lines, 2);
    for (const auto& operation : left) {
        EXPECT_EQ(textOf(operation.type), "92/18");
        EXPECT_EQ(operation.reason, Reason::Stopped);
        EXPECT_EQ(operation.text, "the link was stopped");
        EXPECT_GE(operation.ageMS, 1500);
    }
    EXPECT_EQ(left[0].requestId + left[1].requestId, "bc");
}

/// Asks for something in its callback, with the controller's mutex held.
struct Asking : pa::PAControllerObserverAdapter {
    void onPaZoneUpdate(PaZone /*zone*/) override {
        if (active) {
            gPaController.cancelMessage("one too many");
        }
    }
    std::atomic<bool> active{false};
};

TEST_F(ConnectionTest, ReportsEveryDroppedOperation) {
    static auto& observer = *new Asking;  // must outlive the controller
    gPaController.registerObserver(&observer);
    server.onOperation = [](const pa::Operation& operation) {
        if (operation.payload == "\"large\"") {
            throw std::length_error("too large");
        }
    };
    std::string reported;
    link.setDropHandler([&](const palink::DroppedOperation& dropped) {
        static_cast<void>(gPaController.getPaZones());
        const std::lock_guard guard(lock);
        reported += dropped.requestId + ": " + dropped.text + "\n";
        if (dropped.requestId == "large") {
            cancel("small");  // a handler may ask again
            throw std::runtime_error("and fail");
        }
    });
    link.start();
    ASSERT_TRUE(link.waitUntilReady(10s));
    cancel("large");
    EXPECT_EQ(server.operations(1)[0], "\"small\"");

    server.takesClients = false;
    server.say(palink::Disconnected{"cable pulled"});
    transport.waitUntilDelivered();
    cancel("old");
    nowMS += 5001;
    gQXReceiver.setMaxWait(5s);  // looks at once
    while (lines < 2) {
        std::this_thread::yield();
    }
    gQXReceiver.setMaxBytes(0);
    observer.active = true;
    server.say(palink::Record{4, pa::RecordKind::Zone, 1, {"Y"}});
    transport.waitUntilDelivered();
    observer.active = false;
    link.stop();
    gQXReceiver.setMaxBytes(QXReceiver::defaultMaxBytes);
    EXPECT_EQ(reported,
              "large: too large\nold: the link was down\n"
              "one too many: the send queue is full\n");
    EXPECT_EQ(lines, 3);
}

/// A server thread that cannot say all it has to say waits with the server's lock, which the
/// operation that is being handled waits for.
TEST_F(ConnectionTest, ALossIsHandledWhileTheServerIsHeldBack) {
    palink::EmbeddedTransport narrow(server, 1);
    std::mutex serverLock;
    std::atomic<bool> handling{false};
    server.onOperation = [&](const pa::Operation&) {
        handling = true;
        const std::lock_guard guard(serverLock);
    };
    palink::ServerLink other(newFacade(), narrow);
    other.start();
    ASSERT_TRUE(other.waitUntilReady(10s));
    {
        const std::lock_guard guard(serverLock);
        cancel("a");
        while (!handling) {
            std::this_thread::yield();
        }
        server.say(palink::Disconnected{"restarted"});
        server.say(palink::Connected{});
        server.say(palink::InitialSetComplete{});
    }
    EXPECT_TRUE(other.waitUntilReady(10s));
    EXPECT_EQ(server.operations(1)[0], "\"a\"");
}

}  // namespace
