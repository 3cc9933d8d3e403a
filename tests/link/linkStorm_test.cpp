// A link that is started and stopped again and again in a storm, for the sanitizers.
#include "tests/link/linkStorm.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>

#include "sdk/globals.h"

namespace {

using namespace std::chrono_literals;
using State = palink::ConnectionChange::State;
using Clock = std::chrono::steady_clock;

/// Holds each step against the one before it.
struct Steps {
    void operator()(const palink::ConnectionChange& change) {
        const bool connected = last == State::Connected || last == State::Synced;
        switch (change.state) {
            case State::Connected:
                EXPECT_FALSE(connected);
                EXPECT_EQ(change.number, number + 1);
                break;
            case State::Synced:
                EXPECT_EQ(last, State::Connected);
                EXPECT_EQ(change.number, number);
                break;
            case State::Disconnected:
                EXPECT_TRUE(connected);
                EXPECT_EQ(change.number, number);
                break;
            case State::Stopped:
                EXPECT_FALSE(connected);
                break;
        }
        last = change.state;
        number = change.number;
    }
    State last = State::Stopped;
    std::uint64_t number = 0;
};

/// How long the storm lasts: a few rounds, or the seconds that the environment gives.
bool lasts(int round, Clock::time_point start) {
    const char* const seconds = std::getenv("PASDK_STORM_SECONDS");
    return seconds == nullptr ? round < 8
                              : Clock::now() - start < std::chrono::seconds(std::atoi(seconds));
}

TEST(LinkStormTest, ALinkStartsAndStopsInTheMiddle) {
    static auto& audioServer = *new AudioServer(gPaController);
    storm::beginWithObservers();
    storm::BusyServer server(storm::makeStream(20'000, audioServer.getUUID()));
    palink::EmbeddedTransport transport(server, 64 * 1024);  // full now and then
    std::atomic<long> handled{0};
    std::atomic<long> dropped{0};
    Steps steps;
    int round = 0;
    {
        palink::ServerLink link(audioServer, transport);
        link.setConnectionHandler([&steps](const auto& change) { steps(change); });
        link.setDropHandler([&dropped](const auto& drop) { dropped += long(drop.count); });
        storm::Threads threads(server, 16);
        for (const auto start = Clock::now(); lasts(round, start); ++round) {
            link.start();
            link.setRefusalHandler([&handled](const auto&) { ++handled; });
            link.setLevelHandler([&handled](const auto&) { ++handled; });
            EXPECT_TRUE(link.waitUntilReady(60s));
            const int rounds = threads.rounds;
            while (threads.rounds < rounds + 20 || handled == 0) {
                std::this_thread::yield();
            }
            link.stop(round % 2 == 0 ? 0ms : 50ms);
            EXPECT_EQ(steps.last, State::Stopped);
        }
    }
    gQXReceiver.abandon();  // returns when every drop has been reported
    EXPECT_GT(server.operations, 0);
    EXPECT_GT(server.uploads, 0);
    EXPECT_GT(dropped, 0) << "what is asked for while the link is stopped";
    EXPECT_GE(steps.number, static_cast<std::uint64_t>(round));
    storm::end();
}

}  // namespace
