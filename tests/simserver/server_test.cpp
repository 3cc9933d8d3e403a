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
    replay(R"~(
connect | connected: Small / source: 9 1  0 / attached: 9 - / sink: 5 1, 6 1
    / zone: 1 None, 2 None, 3 None, 4 None, 5 None / port: 7, 8, 9, 10 / complete: .
92/17 "a",0,500,"2,ip,\"Hall\",12!2,,1^0^0","3,ip,Yard,\"Hi\",,0^0^0"
    | part: 1 a Queued, 2 a Queued, 1 Playing, 2 Playing / sink: 5 2, 6 2
    / zone: 1 Dictionary, 2 Dictionary, 3 Dictionary, 5 Display
+2499 |
+1 | part: 1 Finished 0 "played to its end" deleted / sink: 5 1, 6 1 / zone: 1 None, 2 None, 3 None
92/17 "server-1",0,500,"2,ip,\"Yard\"^\"Hall/East\",12!1,,0^0^0" | part: 3 server-1 Queued Playing
    / sink: 5 2, 6 2 / zone: 2 Dictionary, 5 Dictionary
92/17 "server-1",0,500,"2,ip,\"Yard\",12!1,,0^0^0"
    | refused: 92/17 [server-1] request "server-1" is active already
92/17 "",1,1,"1,ip,\"Hall/East\",3^/srv/evacuation.wav,,0^0^0"
    | part: 4 server-2 Queued Playing / zone: 2 Recorded
disconnect |
92/18 "no client receives the refusal" |
+500 |
connect | connected: Small / source: 9 1  0 / attached: 9 - / sink: 5 2, 6 2
    / zone: 1 None, 2 Recorded, 3 None, 4 None, 5 Dictionary / port: 7, 8, 9, 10
    / part: 2 Playing, 3 Playing, 4 Playing / complete: .
+500 | part: 3 Finished 0 "played to its end" deleted / sink: 6 1 / zone: 5 Display
92/18 "",3 | part: 2 Cancelled 1 "cancelled with all of type Display" deleted / zone: 5 None
92/18 "",4 | refused: 92/18 [] no announcement of type TTS is active
92/18 "server-2" | part: 4 Cancelled 1 "cancelled" deleted / sink: 5 1 / zone: 2 None
92/18 "server-2" | refused: 92/18 [server-2] no announcement "server-2" is active
92/17 "r",0,500,"1,ip,\"Yard\",3^/tmp/a.wav,,0^0^0"
    | part: 5 r Queued Failed 3 "\"/tmp/a.wav\" is not on this server" deleted
92/17 "r",0,500,"9,ip,\"Yard\",\"{\\\"kvPairs\\\":{\\\"K\\\":
    {\\\"type\\\":\\\"literal\\\",\\\"values\\\":[]}},\\\"validity\\\":0}\",,0^0^0"
    | part: 6 r Queued Playing / zone: 5 Display template
    / part: 6 Finished 0 "played to its end" deleted / zone: 5 None
92/17 "r",0,500,"2,ip,\"Yard\",12!1,,0^12^0" | refused: 92/17 [r] unknown chime 12
78/17 "r",0,500,"2,ip,\"Yard\",12!1,,0^0^0" | refused: 78/17 [] this operation is not simulated
)~");
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
    replay(R"~(
92/1 9,client-1 | source: 9 1 client-1 -10
other 92/1 9,client-2 | other: source 9 is locked by another client
92/7 9,client-2 | refused: 92/7 [] source 9 is locked by another client
real 29999 |
92/7 9,client-1 |
real 29999 |
92/1 9,client-1 | source: 9 1 client-1 -10
real 29999 |
renewals 0 |
92/7 9,client-1 |
real 1 | source: 9 1  -10
renewals 1 |
92/7 9,client-1 | refused: 92/7 [] source 9 is not locked
other 92/1 9,client-2 | source: 9 1 client-2 -10 / other: done
disconnect |
other 92/2 9,client-2 | other: done
connect | connected: Operated / source: 9 1  -10, 120 2  -10
    / attached: 9 -, 120 "\"Hallway\"" / sink: 5 1, 6 1
    / zone: 1 None, 2 None, 3 None, 4 None, 5 None / trigger: 1 1, 2 1, 3 1 / selector: 4 1 / complete: .
)~");
}

TEST_F(OperatingTest, PlaysALockedSourceInItsZones) {
    replay(R"~(
92/3 9,"Hall/East"^"Yard"^"Yard" | attached: 9 "\"Hall/East\"^\"Yard\"" / source: 9 2  -10
92/1 9,c | source: 9 2 c -10 / part: 2 server-2 Queued Playing / sink: 5 2, 6 2
    / zone: 2 Live, 5 Live
92/17 "l",0,549,"2,ip,\"Yard\",12!1,,0^0^0" | part: 3 l Queued
92/4 9,"Yard" | attached: 9 "\"Hall/East\"" / source: 9 2 c -10 / part: 2 Playing, 3 Playing
    / zone: 5 Dictionary
92/4 9 | attached: 9 - / source: 9 1 c -10 / part: 2 Finished 0 "no zone is attached to source 9"
    deleted / sink: 5 1 / zone: 2 None
+1000 | part: 3 Finished 0 "played to its end" deleted / sink: 6 1 / zone: 5 None
92/3 9,"Hall/East" | attached: 9 "\"Hall/East\"" / source: 9 2 c -10
    / part: 4 server-3 Queued Playing / sink: 5 2 / zone: 2 Live
92/2 9,c | source: 9 2  -10 / part: 4 Finished 0 "source 9 is released" deleted / sink: 5 1
    / zone: 2 None
92/1 9,c | source: 9 2 c -10 / part: 5 server-4 Queued Playing / sink: 5 2 / zone: 2 Live
real 30000 | source: 9 2  -10 / part: 5 Finished 0 "the lock of source 9 has lapsed" deleted
    / sink: 5 1 / zone: 2 None
)~");
}

TEST_F(OperatingTest, PlaysByTriggersAndSelectors) {
    // The timetable of trigger 3 begins again after a minute.
    replay(R"~(
trigger 1 1 | trigger: 1 2 / part: 2 server-2 Queued Playing / selector: 4 2 / sink: 6 2
    / zone: 5 Live
trigger 2 1 | trigger: 2 2 / part: 3 server-3 Queued, 2 server-2 Queued, 3 Playing
trigger 2 0 | trigger: 2 1 / part: 3 Finished 0 "trigger 2 is inactive again" deleted, 2 Playing
selector 4 3 | selector: 4 3 / part: 2 Finished 0 "selector 4 is disabled" deleted / sink: 6 1
    / zone: 5 None
selector 4 0 | selector: 4 0 / part: 4 server-4 Queued Playing / sink: 6 2 / zone: 5 Live
trigger 1 0 | trigger: 1 1 / part: 4 Finished 0 "trigger 1 is inactive again" deleted
    / selector: 4 1 / sink: 6 1 / zone: 5 None
+14999 |
+1 | trigger: 3 2 / part: 5 server-5 Queued Playing / zone: 4 Live
92/3 120,"Yard" | attached: 120 "\"Hallway\"^\"Yard\"" / source: 120 2  -10 / part: 5 Playing
    / sink: 6 2 / zone: 5 Live
+10000 | trigger: 3 1 / part: 5 Finished 0 "trigger 3 is inactive again" deleted / sink: 6 1
    / zone: 4 None, 5 None
+30000 | trigger: 3 2 / part: 6 server-6 Queued Playing / sink: 6 2 / zone: 4 Live, 5 Live
)~");
}

TEST_F(OperatingTest, PlaysBySoftwareTriggers) {
    replay(R"~(
92/5 120,60,Chime,Mind, "the" gap | part: 2 server-2 Queued, 3 server-2 Queued, 2 Playing,
    3 Playing / zone: 4 Live
92/5 120,60 | refused: 92/5 [] source 120 has been activated by a software trigger already
92/6 120 | part: 2 Finished 0 "the software trigger is inactive again" deleted,
    3 Finished 0 "the software trigger is inactive again" deleted / zone: 4 None
92/5 120,100,, | part: 4 server-3 Queued Playing / zone: 4 Live
92/4 120,"Hallway" | attached: 120 - / source: 120 1  -10
    / part: 4 Finished 0 "no zone is attached to source 120" deleted / zone: 4 None
92/3 120,"Hallway" | attached: 120 "\"Hallway\"" / source: 120 2  -10
)~");
    EXPECT_EQ(client.contentOf(2), R"(0,"","\"Hallway\"","120",,1^0^0)");
    EXPECT_EQ(client.contentOf(3), R"(3,"","\"Hallway\"","Mind, \"the\" gap",,0^0^0)");
}

TEST_F(OperatingTest, ChangesGainsMonitoringAndHealth) {
    // A device that is reset is idle until it is healthy again, whatever plays.
    replay(R"~(
92/9 9,42,0,1 | source: 9 1  42
92/8 5,-96,1,0 | sink: 5 1
trigger 1 1 | trigger: 1 2 / part: 2 server-2 Queued Playing / selector: 4 2 / sink: 6 2
    / zone: 5 Live
92/10 1,6 | sink: 6 2
92/29 6 | sink: 6 1
+2999 |
+1 | sink: 6 2
)~");
    EXPECT_EQ(client.last[std::pair(RecordKind::Sink, 5)].at(11), "-96");
    EXPECT_EQ(client.last[std::pair(RecordKind::Sink, 6)].at(27), "1");
}

TEST_F(OperatingTest, RefusesFaultsAndChangesNothing) {
    expectResults([this](const std::string& operation) { return refusalOf(operation); }, R"~(
92/1 8,a                | there is no source 8
92/1 9,(null)           | the client's UUID is missing or malformed
92/1 9,0123456789012345678901234567890123456789012345678901234567890123 | the client's UUID is missing or malformed
92/3 9,"Yard"^"Cellar"  | unknown zone "Cellar"
92/4 120,"Hallway"^"Yard" | zone "Yard" is not attached to source 120
92/5 9,60               | no zone is attached to source 9
92/5 120,101            | priority 101 is out of range, expected 0 to 100
92/5 120,60,Train,      | unknown chime "Train"
92/6 120                | no software trigger of source 120 is active
92/8 5,0.1,0,0          | gain out of range, expected -96 to 0 dB
92/8 6,0,0,0            | sink 6 has no gain: neither a loudspeaker nor a line output
92/9 9,42.01,0,0        | gain out of range, expected -96 to 42 dB
92/9 120,0,0,0          | source 120 has no gain: neither an analogue input nor a paging station
92/29 5                 | sink 5 cannot be reset: neither an interface unit nor a mixer
)~");
    EXPECT_EQ(client.events(), "");
}

TEST_F(OperatingTest, ReadsTheLoudestSourceOfAnElementTenTimesASecond) {
    // The input is measured: a live announcement that has been pre-empted still has a level.
    replay(R"~(
meter 1 1 |
meter 7 1 |
+199 | level: 1 at -96, 7 at -96
meter 7 0 |
+1 | level: 1 at -96
92/1 120,c | source: 120 2 c -10 / part: 2 server-2 Queued Playing / zone: 4 Live
92/17 "h",0,900,"2,ip,\"Hallway\",12!0,,0^0^0" | part: 3 h Queued, 2 server-2 Queued, 3 Playing
    / zone: 4 Dictionary
meter 2 1 |
)~");
    const std::string both = eventsOf("+100");
    EXPECT_NEAR(std::stod(both.substr(std::string("level: 1 at ").size())), -10.0, 30.0) << both;
    EXPECT_EQ(both.substr(both.find(',')), ", 2 at -96");
    // A feed ends with its connection.
    take("disconnect");
    eventsOf("connect");
    EXPECT_EQ(eventsOf("+100"), "");
}

}  // namespace
