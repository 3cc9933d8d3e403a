#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "tests/simserver/OperatingTest.h"

namespace {

using namespace simserver;
using std::chrono::seconds;

TEST_F(OperatingTest, ReadsTheLoudestSourceOfAnElementTenTimesASecond) {
    replay(R"~(
> meter 1 1

> meter 7 1

> +100
level: 1 at -96, 7 at -96
> +199
level: 1 at -96, 7 at -96
> meter 7 0

> +1
level: 1 at -96
)~");
    // It is the input that is measured: what has been pre-empted still shows.
    replay(R"~(
> 92/1 120,c
2: 120 2 c -10 / 11: 2 "server-2" Queued, 2 "server-2" Playing / 20: 4 Active Live
> 92/17 "h",0,900,"2,ip,\"Hallway\",12!0,,0^0^0"
11: 3 "h" Queued, 2 "server-2" Queued, 3 "h" Playing / 20: 4 Active Dictionary
)~");
    client.levels.clear();
    take("+5000");
    ASSERT_EQ(client.levels.size(), 50U);
    const auto [lowest, highest] = std::minmax_element(client.levels.begin(), client.levels.end());
    EXPECT_GT(*lowest, -96.0);
    EXPECT_GT(*highest, -10.0 - 6.0);
    EXPECT_LT(*highest, -10.0 + 6.0);
    EXPECT_GT(*highest, *lowest + 6.0);
    take("meter 0 1");  // its sources are silent
    take("+100");
    EXPECT_EQ(client.levels.at(50), -96.0);
    EXPECT_GT(client.levels.at(51), -96.0);
    // A feed ends with its connection.
    take("disconnect");
    take("connect");
    client.told();
    take("+100");
    EXPECT_EQ(client.told(), "");
}

/// Waits for what a clock thread tells.
class Listener : public palink::ServerEventSink {
public:
    void deliver(palink::ServerEvent event) override {
        const std::lock_guard guard(lock_);
        events_.push_back(std::move(event));
        changed_.notify_all();
    }

    /// Forgets what was told before what `matches`.
    /// @return whether that was told within some seconds
    template <class Told, class Matches>
    bool hears(Matches matches) {
        const auto heard = [&] {
            while (!events_.empty()) {
                const palink::ServerEvent event = std::move(events_.front());
                events_.pop_front();
                if (const auto* const told = std::get_if<Told>(&event); told && matches(*told)) {
                    return true;
                }
            }
            return false;
        };
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, seconds(10), heard);
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<palink::ServerEvent> events_;
};

TEST(SimServerClock, WakesForLapsesAndReadings) {
    // Every look at this clock takes 12 s, so that nothing is a matter of waiting.
    static std::atomic<std::int64_t> realMS{0};
    setTimeSource({nullptr, [] { return realMS += 12'000; }, nullptr});
    Listener client;
    {
        SimServer server(smallStation());
        server.connectClient(client);
        server.handleOperation({-1, 92, 1, 1, "9,c"});
        for (const char* const holder : {"c", ""}) {
            EXPECT_TRUE(client.hears<palink::Record>([&](const palink::Record& told) {
                return told.kind == palink::RecordKind::Source && told.fields.at(9) == holder;
            })) << holder;
        }
        server.meterLevel(true, 0);
        for (int readings = 0; readings < 2; ++readings) {
            EXPECT_TRUE(client.hears<palink::LevelReading>([](const auto&) { return true; }));
        }
    }
    setTimeSource({});
}

}  // namespace
