#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>

#include "tests/simserver/Replay.h"

namespace {

using namespace simserver;

TEST_F(OperatingTest, ReadsTheLoudestSourceOfAnElementTenTimesASecond) {
    replay(R"~(
meter 1 1 |
meter 7 1 |
+100 | level: 1 at -96, 7 at -96
+199 | level: 1 at -96, 7 at -96
meter 7 0 |
+1 | level: 1 at -96
# It is the input that is measured: what has been pre-empted still shows.
92/1 120,c | source: 120 2 c -10 / part: 2 server-2 Queued Playing / zone: 4 Live
92/17 "h",0,900,"2,ip,\"Hallway\",12!0,,0^0^0" | part: 3 h Queued, 2 server-2 Queued, 3 Playing
    / zone: 4 Dictionary
)~");
    std::istringstream words(told("+5000"));
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
    take("meter 0 1");  // its sources are silent
    const std::string both = told("+100");
    EXPECT_EQ(both.find("level: 0 at -96, 1 at "), 0U) << both;
    EXPECT_EQ(both.find("1 at -96"), std::string::npos) << both;
    // A feed ends with its connection.
    take("disconnect");
    told("connect");
    EXPECT_EQ(told("+100"), "");
}

/// Waits for what a clock thread tells.
class Listener : public TestClient {
public:
    void deliver(palink::ServerEvent event) override {
        const std::lock_guard guard(lock_);
        TestClient::deliver(std::move(event));
        heard_ += told() + "\n";
        changed_.notify_all();
    }

    /// Forgets what was told up to this line.
    /// @return whether that was told within some seconds
    bool hears(const std::string& line) {
        std::unique_lock guard(lock_);
        const auto heard = [&] { return heard_.find(line + "\n") != std::string::npos; };
        const bool told = changed_.wait_for(guard, std::chrono::seconds(10), heard);
        heard_.erase(0, told ? heard_.find(line + "\n") + line.size() : 0);
        return told;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::string heard_;
};

TEST(SimServerClock, WakesForLapsesAndReadings) {
    // Every look at this clock takes 12 s, so that nothing is a matter of waiting.
    static std::atomic<std::int64_t> realMS{0};
    pa::setTimeSource({nullptr, [] { return realMS += 12'000; }, nullptr});
    Listener client;
    {
        SimServer server(smallStation());
        server.connectClient(client);
        server.handleOperation({-1, pa::operations::attachSource, 1, "9,c"});
        EXPECT_TRUE(client.hears("source: 9 1 c 0"));
        EXPECT_TRUE(client.hears("source: 9 1  0"));
        server.meterLevel(true, 0);
        EXPECT_TRUE(client.hears("level: 0 at -96"));
        EXPECT_TRUE(client.hears("level: 0 at -96"));
    }
    pa::setTimeSource({});
}

}  // namespace
