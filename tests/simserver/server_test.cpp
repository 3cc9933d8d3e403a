// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <cmath>
#include <future>
#include <stdexcept>

#include "tests/simserver/Replay.h"

namespace {

using namespace simserver;

TEST_F(ServerTest, ReportsRequestsFromArrivalToEnd) {
    // Audio takes precedence over visual parts; a new connection receives the present state; a sink
    // of the whole hall is idle while only its east plays. A request without an id is given a free
    // one.
    replay();
}

TEST(SimServer, RefusesAnInvalidSpeed) {
    EXPECT_THROW(SimServer(smallStation(), {std::nan(""), true, {}}), std::invalid_argument);
    EXPECT_THROW(SimServer(smallStation(), {0.0, true, {}}), std::invalid_argument);
}

/// Keeps its promise at the first event with some text.
struct WaitingClient : TestClient {
    explicit WaitingClient(std::string text) : wanted(std::move(text)) {}

    void deliver(palink::ServerEvent event) override {
        TestClient::deliver(std::move(event));
        if (events().find(wanted) != std::string::npos) {
            wanted = "nothing else";
            arrived.set_value();
        }
    }

    std::string wanted;
    std::promise<void> arrived;
};

TEST(SimServerClock, WakesForLapsesAndReadings) {
    // Every reading of this clock takes 12 s, so no test waits for real time.
    static std::atomic<std::int64_t> realMS{0};
    pa::setTimeSource({nullptr, [] { return realMS += 12'000; }, nullptr});
    {
        SimServer server(operatedStation());
        const auto brings = [&server](const std::string& text, const std::function<void()>& act) {
            WaitingClient client(text);
            server.connectClient(client);
            act();
            const auto arrived = client.arrived.get_future().wait_for(std::chrono::seconds(10));
            server.disconnectClient();
            return arrived == std::future_status::ready;
        };
        const auto lock = [&] {
            server.handleOperation({-1, pa::operations::attachSource, 1, "120,c"});
        };
        EXPECT_TRUE(brings("the lock of source 120 has lapsed", lock));
        // Since then the clock's thread waits without a limit.
        EXPECT_TRUE(brings("the lock of source 120 has lapsed", lock));
        EXPECT_TRUE(brings("level: 0 at -96", [&] { server.meterLevel(true, 0); }));
    }
    pa::setTimeSource({});
}

TEST_F(OperatingTest, LocksASourceForOneClient) {
    replay();
}

TEST_F(OperatingTest, PlaysALockedSourceInItsZones) {
    replay();
}

TEST_F(OperatingTest, PlaysByTriggersAndSelectors) {
    // The timetable of trigger 3 begins again after a minute.
    replay();
}

TEST_F(OperatingTest, PlaysBySoftwareTriggers) {
    replay();
    EXPECT_EQ(client.contentOf(2), R"(0,"","\"Hallway\"","120",,1^0^0)");
    EXPECT_EQ(client.contentOf(3), R"(3,"","\"Hallway\"","Mind, \"the\" gap",,0^0^0)");
}

TEST_F(OperatingTest, ChangesGainsMonitoringAndHealth) {
    // A device that is reset is idle until it is healthy again, whatever plays.
    replay();
    EXPECT_EQ(client.last[std::pair(RecordKind::Sink, 5)].at(11), "-96");
    EXPECT_EQ(client.last[std::pair(RecordKind::Sink, 6)].at(27), "1");
}

TEST_F(OperatingTest, RefusesFaultsAndChangesNothing) {
    expectTable([this](const std::string& operation) { return refusalOf(operation); });
    EXPECT_EQ(client.events(), "");
}

TEST_F(OperatingTest, ReadsTheLoudestSourceOfAnElementTenTimesASecond) {
    // The input is measured: a live announcement that has been pre-empted still has a level.
    replay();
    const std::string both = eventsOf("+100");
    EXPECT_NEAR(std::stod(both.substr(std::string("level: 1 at ").size())), -10.0, 30.0) << both;
    EXPECT_EQ(both.substr(both.find(',')), ", 2 at -96");
    // A feed ends with its connection.
    take("disconnect");
    eventsOf("connect");
    EXPECT_EQ(eventsOf("+100"), "");
}

}  // namespace
