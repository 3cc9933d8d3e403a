#include "simserver/SimServer.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "tests/simserver/SmallStation.h"

namespace {

using namespace simserver;
using namespace std::chrono_literals;
using palink::RecordKind;

/// Writes down what it is told, one line each; of records kind/key and the fields that can change.
class Client : public palink::ServerEventSink {
public:
    void deliver(palink::ServerEvent event) override {
        const std::lock_guard guard(lock_);
        text_ += std::visit([](const auto& told) { return line(told); }, event) + "\n";
        changed_.notify_all();
    }

    /// What was told since the last call.
    std::string told() {
        const std::lock_guard guard(lock_);
        return "\n" + std::exchange(text_, {});
    }

    bool waitFor(const std::string& line) {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, 30s,
                                 [&] { return text_.find(line + "\n") != std::string::npos; });
    }

private:
    static std::string line(const palink::Connected& told) {
        return "connected " + std::to_string(told.localDstNo) + std::to_string(told.activeDstNo) +
               std::to_string(told.indirect ? 1 : 0) + " " + told.serverInfo.get_value("name");
    }
    static std::string line(const palink::Disconnected& /*told*/) { return "disconnected"; }
    static std::string line(const palink::InitialSetComplete& /*told*/) { return "complete"; }
    static std::string line(const palink::Withdrawal& told) {
        EXPECT_EQ(told.dstNo, 3);
        return std::to_string(told.kind) + "/" + std::to_string(told.key) + " gone";
    }
    static std::string line(const palink::Refusal& told) {
        return "refused " + std::to_string(told.operationClass) + "/" +
               std::to_string(told.operationNumber) + " [" + told.requestId + "] " + told.reason;
    }
    static std::string line(const palink::Record& told) {
        static const std::map<RecordKind, std::vector<std::size_t>> shown = {
            {RecordKind::Sink, {7, 9}},
            {RecordKind::Zone, {0, 3, 5}},
            {RecordKind::Announcement, {0, 5, 18, 19}},
            {RecordKind::Source, {}},
            {RecordKind::AttachedZones, {}},
            {RecordKind::TtsPort, {}}};
        EXPECT_EQ(told.dstNo, 3);
        std::string text =
            std::to_string(static_cast<int>(told.kind)) + "/" + std::to_string(told.key);
        for (const std::size_t i : shown.at(told.kind)) {
            text += i < told.fields.size() ? " " + told.fields[i].value_or("-") : "";
        }
        return text;
    }

    std::mutex lock_;
    std::condition_variable changed_;
    std::string text_;
};

Options withSpeed(double speed, bool manualTime) {
    Options options;
    options.speed = speed;
    options.manualTime = manualTime;
    return options;
}

struct SimServerTest : testing::Test {
    SimServerTest() { server.connectClient(client); }
    /// What the client is told when an operation has been sent.
    std::string after(int number, const std::string& payload, int operationClass = 92) {
        client.told();
        server.handleOperation({-2, operationClass, number, 1, payload});
        return client.told();
    }
    std::string after(std::chrono::milliseconds passed) {
        server.advance(passed);
        return client.told();
    }

    Client client;
    SimServer server{smallStation(), withSpeed(1, true)};
};

/// A shown part for the yard.
std::string shownInYard(const std::string& validity) {
    return R"("9,ip,\"Yard\",\"{\\\"kvPairs\\\":{\\\"K\\\":{\\\"type\\\":\\\"literal\\\",)"
           R"(\\\"values\\\":[]}},\\\"validity\\\":)" +
           validity + R"(}\",,1^0^0")";
}

TEST_F(SimServerTest, ReportsARequestFromArrivalToEnd) {
    const std::string everything = client.told();
    EXPECT_EQ(everything, R"(
connected 330 Small
2/9
6/9
3/5 1 0
3/6 1 0
20/1 "Hall" Idle None
20/2 "Hall/East" Idle None
20/3 "Hall/West" Idle None
20/4 "Hallway" Idle None
20/5 "Yard" Idle None
101/7
101/8
complete
)");
    EXPECT_EQ(after(17, R"("req-01",0,500,"2,ip,\"Hall\",12!2,,1^0^0",)" + shownInYard("5")), R"(
11/1 "req-01" Queued
11/2 "req-01" Queued
11/1 "req-01" Playing
11/2 "req-01" Playing
3/5 2 1
3/6 2 1
20/1 "Hall" Active Dictionary
20/2 "Hall/East" Active Dictionary
20/3 "Hall/West" Active Dictionary
20/5 "Yard" Active Display template
)");
    EXPECT_EQ(after(2499ms), "\n");
    EXPECT_EQ(after(1ms), R"(
11/1 "req-01" Finished 0 "played to its end"
11/1 gone
3/5 1 0
3/6 1 0
20/1 "Hall" Idle None
20/2 "Hall/East" Idle None
20/3 "Hall/West" Idle None
)");

    // What is heard goes before what is shown. A client that comes again is told how things stand.
    after(17, R"("req-02",0,500,"2,ip,\"Yard\",12!1,,0^0^0")");
    server.disconnectClient();
    EXPECT_EQ(after(18, R"("nobody hears why not")"), "\n");
    EXPECT_EQ(after(500ms), "\n");
    server.connectClient(client);
    std::string now = everything;
    now.replace(now.find("3/6 1 0"), 7, "3/6 2 1");
    now.replace(now.find("\"Yard\" Idle None"), 16, "\"Yard\" Active Dictionary");
    now.replace(now.find("complete"), 0, "11/2 \"req-01\" Playing\n11/3 \"req-02\" Playing\n");
    EXPECT_EQ(client.told(), now);
    EXPECT_EQ(after(1h), R"(
11/3 "req-02" Finished 0 "played to its end"
11/3 gone
3/6 1 0
20/5 "Yard" Active Display template
11/2 "req-01" Finished 0 "played to its end"
11/2 gone
20/5 "Yard" Idle None
)");
}

TEST_F(SimServerTest, ReportsEveryOtherEnd) {
    // A sink of the hall as a whole stays quiet while only its east is played to.
    EXPECT_EQ(after(17, R"("server-1",0,500,"2,ip,\"Hall/East\"^\"Hallway\",12!0,,0^0^0")"), R"(
11/1 "server-1" Queued
11/1 "server-1" Playing
3/5 2 1
20/2 "Hall/East" Active Dictionary
20/4 "Hallway" Active Dictionary
)");
    // A request without an id is given a free one; another type is a change of the zones alone.
    const char* const withoutId =
        R"("",1,1,"1,ip,\"Hall/East\"^\"Hallway\",3^/srv/evacuation.wav,,0^0^0")";
    EXPECT_EQ(after(17, withoutId), R"~(
11/2 "server-2" Queued
11/1 "server-1" Pre-empted 2 "pre-empted by server-2 (Relative +1)"
11/1 gone
11/2 "server-2" Playing
20/2 "Hall/East" Active Recorded
20/4 "Hallway" Active Recorded
)~");
    EXPECT_EQ(after(18, R"("server-2")"), R"(
11/2 "server-2" Cancelled 1 "cancelled"
11/2 gone
3/5 1 0
20/2 "Hall/East" Idle None
20/4 "Hallway" Idle None
)");
    EXPECT_EQ(after(17, R"("req-03",0,500,"1,ip,\"Yard\",3^/tmp/a.wav,,0^0^0")"), R"(
11/3 "req-03" Queued
11/3 "req-03" Failed 3 "\"/tmp/a.wav\" is not on this server"
11/3 gone
)");
    EXPECT_EQ(after(17, R"("req-04",0,500,)" + shownInYard("0")), R"(
11/4 "req-04" Queued
11/4 "req-04" Playing
20/5 "Yard" Active Display template
11/4 "req-04" Finished 0 "played to its end"
11/4 gone
20/5 "Yard" Idle None
)");
}

TEST_F(SimServerTest, RefusesWithAReason) {
    after(17, R"("active",0,500,"2,ip,\"Yard\",12!0,,0^0^0")");
    const std::string good = R"("req-01",0,500,"2,ip,\"Yard\",12!1,,0^0^0")";
    struct {
        int operationClass;
        int number;
        std::string payload;
        const char* refusal;  // its beginning
    } const cases[] = {
        {92, 17, R"("req-01",0,500,"2,ip,\"Yrad\",12!1,,0^0^0")",
         R"([req-01] unknown zone "Yrad")"},
        {92, 17, good + R"(,"9,ip,\"Yard\",\"{\",,0^0^0")", "[req-01] part 2: content: not JSON"},
        {92, 17, R"("req-01",0,500)", "[req-01] 3 fields; expected"},
        {92, 17, R"(req-01)", "[] request id: not a quoted text"},
        {92, 17, R"("active")" + good.substr(8), R"([active] request "active" is active already)"},
        {92, 18, R"("gone-1")", R"([gone-1] no announcement "gone-1" is active)"},
        {92, 18, R"("",4)", "[] no announcement of type TTS is active"},
        {92, 3, R"(9,"Yard")", "[] this operation is not simulated"},
        {78, 17, good, "[] this operation is not simulated"},
    };
    for (const auto& [operationClass, number, payload, refusal] : cases) {
        const std::string told = after(number, payload, operationClass);
        const std::string operation = std::to_string(operationClass) + "/" + std::to_string(number);
        EXPECT_EQ(told.rfind("\nrefused " + operation + " " + refusal, 0), 0U) << told;
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 2) << told;  // and nothing else
    }
}

TEST(SimServer, LetsTimePassByItself) {
    Client client;
    SimServer server(smallStation(), withSpeed(1e9, false));
    server.connectClient(client);
    server.handleOperation({-2, 92, 17, 1, R"("req-01",0,500,"2,ip,\"Yard\",12!99999,,0^0^0")"});
    EXPECT_TRUE(client.waitFor("11/1 gone"));
    server.handleOperation({-2, 92, 17, 1, R"("req-02",0,500,"2,ip,\"Yard\",12!99999,,0^0^0")"});
    EXPECT_TRUE(client.waitFor("11/2 gone"));
    server.disconnectClient();
}

TEST(SimServer, RefusesASpeedThatIsNone) {
    for (const double speed : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
        EXPECT_THROW(SimServer(smallStation(), withSpeed(speed, true)), std::invalid_argument);
    }
}

}  // namespace
