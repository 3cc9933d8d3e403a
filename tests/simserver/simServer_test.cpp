#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include "tests/simserver/Replay.h"

namespace {

using namespace simserver;

TEST_F(ServerTest, ReportsARequestFromArrivalToEnd) {
    // Audio takes precedence over visual parts; a new connection receives the present state; a sink
    // of the whole hall is idle while only its east plays.
    replay(R"~(
connect | connected: Small 330 / source: 9 1  0 / attached: 9 - / sink: 5 1, 6 1
    / zone: 1 None, 2 None, 3 None, 4 None, 5 None / port: 7, 8 / complete: .
92/17 "a",0,500,"2,ip,\"Hall\",12!2,,1^0^0","3,ip,Yard,\"Hi\",,0^0^0"
    | part: 1 a Queued, 2 a Queued, 1 Playing, 2 Playing / sink: 5 2, 6 2
    / zone: 1 Dictionary, 2 Dictionary, 3 Dictionary, 5 Display
+2499 |
+1 | part: 1 Finished 0 "played to its end" deleted / sink: 5 1, 6 1 / zone: 1 None, 2 None, 3 None
92/17 "b",0,500,"2,ip,\"Yard\"^\"Hall/East\",12!1,,0^0^0" | part: 3 b Queued Playing
    / sink: 5 2, 6 2 / zone: 2 Dictionary, 5 Dictionary
disconnect |
92/18 "no client receives the refusal" |
+500 |
connect | connected: Small 330 / source: 9 1  0 / attached: 9 - / sink: 5 2, 6 2
    / zone: 1 None, 2 Dictionary, 3 None, 4 None, 5 Dictionary / port: 7, 8
    / part: 2 Playing, 3 Playing / complete: .
+500 | part: 3 Finished 0 "played to its end" deleted / sink: 5 1, 6 1 / zone: 2 None, 5 Display
92/18 "",3 | part: 2 Cancelled 1 "cancelled with all of type Display" deleted / zone: 5 None
)~");
}

TEST_F(ServerTest, ReportsEveryOtherEndAndRefusesWithAReason) {
    take("connect");
    client.events();
    // A request without an id is given a free one; another type changes only the zones.
    replay(R"~(
92/17 "server-1",0,500,"2,ip,\"Hall/East\"^\"Hallway\",12!0,,0^0^0"
    | part: 1 server-1 Queued Playing / sink: 5 2 / zone: 2 Dictionary, 4 Dictionary
92/17 "",1,1,"1,ip,\"Hall/East\"^\"Hallway\",3^/srv/evacuation.wav,,0^0^0"
    | part: 2 server-2 Queued, 1 Pre-empted 2 "pre-empted by server-2 (Relative +1)" deleted,
    2 Playing / zone: 2 Recorded, 4 Recorded
92/17 "server-2",0,500,"2,ip,\"Yard\",12!1,,0^0^0"
    | refused: 92/17 [server-2] request "server-2" is active already
92/18 "server-2",2 | refused: 92/18 [] expected either a request id or "",type
92/18 "",12 | refused: 92/18 [] unknown announcement type 12
92/18 "",4 | refused: 92/18 [] no announcement of type TTS is active
92/18 "server-2" | part: 2 Cancelled 1 "cancelled" deleted / sink: 5 1 / zone: 2 None, 4 None
92/18 "server-2" | refused: 92/18 [server-2] no announcement "server-2" is active
92/17 "r",0,500,"1,ip,\"Yard\",3^/tmp/a.wav,,0^0^0"
    | part: 3 r Queued Failed 3 "\"/tmp/a.wav\" is not on this server" deleted
92/17 "r",0,500,"9,ip,\"Yard\",\"{\\\"kvPairs\\\":{\\\"K\\\":
    {\\\"type\\\":\\\"literal\\\",\\\"values\\\":[]}},\\\"validity\\\":0}\",,0^0^0"
    | part: 4 r Queued Playing / zone: 5 Display template
    / part: 4 Finished 0 "played to its end" deleted / zone: 5 None
92/17 "r",0,500,"3,ip,Yard,\"Hi\",,0^0^0","2,ip,\"Yard\",12!1,,0^12^0"
    | refused: 92/17 [r] unknown chime 12
92/17 "r",0,500,"2,ip" | refused: 92/17 [r] part 1: 2 fields; expected
    type,origin,zones,content,gain,chimes
92/21 9,"Yard" | refused: 92/21 [] this operation is not simulated
78/17 "r",0,500,"2,ip,\"Yard\",12!1,,0^0^0" | refused: 78/17 [] this operation is not simulated
)~");
}

TEST(SimServer, RefusesAnInvalidSpeed) {
    for (const double speed : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
        EXPECT_THROW(SimServer(smallStation(), {speed, true, {}}), std::invalid_argument);
    }
}

TEST_F(OperatingTest, ReadsTheLoudestSourceOfAnElementTenTimesASecond) {
    replay(R"~(
meter 1 1 |
meter 7 1 |
+100 | level: 1 at -96, 7 at -96
+199 | level: 1 at -96, 7 at -96
meter 7 0 |
+1 | level: 1 at -96
# The input is measured: a live announcement that has been pre-empted still has a level.
92/1 120,c | source: 120 2 c -10 / part: 2 server-2 Queued Playing / zone: 4 Live
92/17 "h",0,900,"2,ip,\"Hallway\",12!0,,0^0^0" | part: 3 h Queued, 2 server-2 Queued, 3 Playing
    / zone: 4 Dictionary
)~");
    std::istringstream words(eventsOf("+5000"));
    std::vector<double> levels;
    for (std::string word; words >> word;) {
        if (word == "at" && words >> word) {
            levels.push_back(std::stod(word));
        }
    }
    ASSERT_EQ(levels.size(), 50U);
    const auto [lowest, highest] = std::minmax_element(levels.begin(), levels.end());
    EXPECT_GT(*lowest, -96.0);
    EXPECT_NEAR(*highest, -10.0, 6.0);
    EXPECT_GT(*highest, *lowest + 6.0);
    take("meter 0 1");  // its sources are closed
    const std::string both = eventsOf("+100");
    EXPECT_EQ(both.find("level: 0 at -96, 1 at "), 0U) << both;
    EXPECT_EQ(both.find("1 at -96"), std::string::npos) << both;
    // A feed ends with its connection.
    take("disconnect");
    eventsOf("connect");
    EXPECT_EQ(eventsOf("+100"), "");
}

/// Waits for events of the clock thread.
class WaitingClient : public TestClient {
public:
    void deliver(palink::ServerEvent event) override {
        const std::lock_guard guard(lock_);
        TestClient::deliver(std::move(event));
        received_ += events() + "\n";
        changed_.notify_all();
    }

    /// Forgets the events up to this line.
    /// @return whether it arrives within some seconds
    bool receives(const std::string& line) {
        std::unique_lock guard(lock_);
        const auto arrived = [&] { return received_.find(line + "\n") != std::string::npos; };
        const bool found = changed_.wait_for(guard, std::chrono::seconds(10), arrived);
        received_.erase(0, found ? received_.find(line + "\n") + line.size() : 0);
        return found;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::string received_;
};

TEST(SimServerClock, WakesForLapsesAndReadings) {
    // Every reading of this clock takes 12 s, so no test waits for real time.
    static std::atomic<std::int64_t> realMS{0};
    pa::setTimeSource({nullptr, [] { return realMS += 12'000; }, nullptr});
    WaitingClient client;
    {
        SimServer server(smallStation());
        server.connectClient(client);
        server.handleOperation({-1, pa::operations::attachSource, 1, "9,c"});
        EXPECT_TRUE(client.receives("source: 9 1 c 0"));
        EXPECT_TRUE(client.receives("source: 9 1  0"));
        server.meterLevel(true, 0);
        EXPECT_TRUE(client.receives("level: 0 at -96"));
        EXPECT_TRUE(client.receives("level: 0 at -96"));
    }
    pa::setTimeSource({});
}

}  // namespace
