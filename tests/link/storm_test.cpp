// SPDX-License-Identifier: Apache-2.0
// A link that is started and stopped again and again in a storm; then what the caches hold after
// events in the storm is compared with what they hold after the same events without it.
#include "tests/link/storm.h"

#include <cstdlib>
#include <list>

#include "framework/posixThread.h"
#include "tests/link/LinkTest.h"

namespace {

using namespace std::chrono_literals;

/// A server that reports the stream again and again, and threads of an application.
struct StormTest : LinkTest {
    StormTest() {
        static auto& observer = *new storm::StormObserver;  // outlives the controller
        gPaController.registerObserver(&observer);
        pa::setLogSink([](const pa::LogLine&) {});
        pa::store(gMaxServerWaitTimeSeconds, 1);
        storm::rages = true;
        server.onOperation = [this](const pa::Operation& operation) {
            if (operation.type == pa::operations::cancelMessage) {
                server.say(palink::Refusal{operation.type, "", "not today"});
            }
        };
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back("application", [this] {
                while (!over) {
                    storm::useController(rounds++);
                }
            });
        }
        threads.emplace_back("server", [this] {
            for (std::size_t next = 0; !over; ++next) {
                const std::lock_guard guard(server.lock);
                if (storm::rages) {
                    server.say(stream[next % stream.size()]);
                }
            }
        });
    }
    ~StormTest() override {
        end();
        gQXReceiver.abandon();  // what waits is of no later test
        storm::rages = false;
        pa::store(gMaxServerWaitTimeSeconds, 10);
    }
    void end() {
        over = true;
        threads.clear();
    }

    const std::vector<palink::ServerEvent> stream = storm::makeStream(facade().getUUID());
    std::atomic<int> rounds{0};  // of the application
    std::atomic<bool> over{false};
    std::list<pa::PosixThread> threads;
};

TEST_F(StormTest, ALinkStartsAndStopsInTheMiddleAndTheCachesAreThoseOfOneThread) {
    std::atomic<int> handled{0};  // also while the link is destroyed
    std::atomic<int> dropped{0};
    palink::EmbeddedTransport narrow(server, 64 * 1024);  // full now and then
    palink::ServerLink stopping(facade(), narrow);
    stopping.setDropHandler([&dropped](const auto&) { ++dropped; });
    for (int round = 0; round < 4; ++round) {
        stopping.start();
        stopping.setRefusalHandler([&handled](const auto&) { ++handled; });
        stopping.setLevelHandler([&handled](const auto&) { ++handled; });
        EXPECT_TRUE(stopping.waitUntilReady(60s));
        until([&, before = rounds.load()] { return rounds >= before + 20 && handled > 0; });
        stopping.stop(round % 2 == 0 ? 0ms : 50ms);
    }
    EXPECT_GT(dropped, 0) << "what is asked for while the link is stopped";

    const auto afterTheStream = [&] {
        server.say(storm::connected);
        for (const palink::ServerEvent& event : stream) {
            server.say(event);
        }
        narrow.waitUntilDelivered();
        stopping.waitUntilHandled();
        end();
        return cachesOf(gPaController, storm::keys);
    };
    {
        const std::lock_guard guard(server.lock);
        storm::rages = false;
    }
    stopping.start();
    const auto caches = afterTheStream();
    EXPECT_EQ(std::count(caches.begin(), caches.end(), ""), 0);
    EXPECT_EQ(caches, afterTheStream());
}

using StormDeathTest = StormTest;

TEST_F(StormDeathTest, TheProcessEndsInTheMiddle) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto endInTheMiddle = [this] {
        // These are destroyed at exit, as those of an application: the link stops then.
        static palink::EmbeddedTransport transportOfProcess(server);
        static palink::ServerLink linkOfProcess(facade(), transportOfProcess);
        linkOfProcess.start();
        // Its worker makes pass after pass, and renews a lock in each.
        static std::atomic<int> passes{0};
        pa::TimeSource source;
        source.sleepMS = [](int ms) { passes += ms > 1000 ? 1 : 0; };
        pa::setTimeSource(source);
        auto& second = *new PAController;
        pa::RecordList record({"1", "", "", "", "", "", "", "", "", facade().getUUID()});
        second.addUpdatePaSource(1, record.list());
        until([this] { return rounds >= 100 && passes >= 100; });
        std::exit(0);
    };
    EXPECT_EXIT(endInTheMiddle(), testing::ExitedWithCode(0), "");
}

}  // namespace
