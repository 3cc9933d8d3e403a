// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <thread>

#include "tests/paserver/BrokerServerTest.h"
#include "tests/support/metricRows.h"

namespace {

using namespace pa::operations;
namespace topics = palink::topics;
using pa::RecordKind;

/// A request for dictionary items, which last 3 s.
std::string playOf(const std::string& id, const std::string& zone = "Yard") {
    return '"' + id + R"(",0,500,"2,ip,\")" + zone + R"(\",12^40!1,,0^0^0")";
}

TEST_F(BrokerServerTest, PublishesTheEffectsOfAnOperationBeforeItsAnswer) {
    start();
    EXPECT_EQ(client.status(3).name, "Small");
    for (const std::string zone : {"Yard", "Hallway", "Yard"}) {
        EXPECT_EQ(askFor(attachZones, R"(9,")" + zone + '"'), "accepted");
        const std::string record = client.record(3, RecordKind::AttachedZones, 9);
        EXPECT_NE(record.find(zone), std::string::npos) << record;
        EXPECT_TRUE(client.sync()) << "the status follows";
        EXPECT_EQ(askFor(detachZones, "9"), "accepted");
    }
}

TEST_F(BrokerServerTest, AnswersAnOperationThatIsSentAgainWithoutCarryingItOutAgain) {
    start();
    palink::MqttMessage play = client.operation(playMessage, playOf("request-1"));
    EXPECT_EQ(client.ask(play), "accepted");
    EXPECT_EQ(client.ask(play), "accepted") << "a second play with this id would be refused";
    const auto other = client.operation(playMessage, playOf("request-1"));
    client.publish(other);
    const auto refused = client.answerTo(other);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->reason, "request \"request-1\" is active already");
    EXPECT_EQ(refused->requestId, "request-1");
    advancedMS += paserver::AnswerLog::lifeMS;
    play.payload = playOf("request-1", "Moon");
    EXPECT_NE(client.ask(play), "accepted") << "the answer is forgotten";
    auto late = client.operation(playMessage, playOf("request-2"));
    late.userProperties[1].second = "17";
    EXPECT_EQ(client.ask(late), "the server has started again meanwhile");
}

TEST_F(BrokerServerTest, KeepsTheTopicsOfItsRecords) {
    const std::string zone = topics::record(3, RecordKind::Zone, 1);
    const std::string left = topics::record(3, RecordKind::Zone, 77);
    const auto publish = [this](const std::string& topic, const std::string& payload) {
        palink::MqttMessage message{topic, payload, 1, true};
        message.userProperties = {{"generation", "5"}};
        client.publish(message);
    };
    publish(left, R"(["77"])");
    publish(zone, R"(["wrong"])");
    start();
    const std::string right = client.record(3, RecordKind::Zone, 1);
    for (const std::string foreign : {R"(["wrong"])", ""}) {
        const std::size_t before = client.countOf(zone);
        publish(zone, foreign);
        EXPECT_TRUE(client.waitFor([&] {
            return client.countOf(zone) >= before + 2 &&
                   client.record(3, RecordKind::Zone, 1) == right;
        })) << foreign;
    }
    const std::size_t before = client.countOf(left);
    publish(left, R"(["77"])");
    EXPECT_TRUE(client.waitFor([&] { return client.countOf(left) >= before + 2; }));
    EXPECT_TRUE(client.sync());
    for (const std::string foreign : {"[", "{}"}) {  // one more status may be due at first
        const std::size_t statuses = client.countOf(topics::status(3));
        publish(topics::status(3), foreign);
        EXPECT_TRUE(
            client.waitFor([&] { return client.countOf(topics::status(3)) >= statuses + 2; }));
    }
}

TEST_F(BrokerServerTest, WithdrawsWhatHasEndedWhileTheBrokerWasAway) {
    const TestFolder kept;
    BrokerProcess lasting(std::string(BrokerProcess::open) +
                          "persistence true\npersistence_location " + kept.path().string() + "/\n");
    BrokerObserver observer(lasting.options());
    paserver::ServerSettings there = settings();
    there.broker = lasting.options();
    server = std::make_unique<paserver::BrokerServer>(there);
    EXPECT_TRUE(observer.sync());
    EXPECT_EQ(observer.ask(observer.operation(playMessage, playOf("request-1"))), "accepted");
    lasting.kill(SIGTERM);  // it stores what it has retained
    advancedMS += 1000;     // 20 s of the station
    lasting.restart();
    EXPECT_TRUE(observer.waitFor([&] { return observer.isActive(3) && observer.isSynced(3); }));
    EXPECT_EQ(observer.record(3, pa::RecordKind::Announcement, 1), "");
}

TEST_F(BrokerServerTest, FeedsALevelMeterForFiveSeconds) {
    start();
    client.publish({topics::levelRequest(3, 1), ""});
    const std::string level = topics::level(3, 1);
    EXPECT_TRUE(client.waitFor([&] { return client.countOf(level) >= 3; }));
    advancedMS += paserver::BrokerServer::meterMS;
    // After the round trip a reading may still come, but not from then on.
    client.ask(client.request(topics::roundTrips(3)));
    client.ask(client.request(topics::roundTrips(3)));
    const std::size_t read = client.countOf(level);
    EXPECT_FALSE(client.waitFor([&] { return client.countOf(level) > read + 1; },
                                std::chrono::milliseconds(300)));
}

TEST_F(BrokerServerTest, StartsAgainAsANewGeneration) {
    start();
    const std::int64_t generation = client.status(3).generation;
    EXPECT_EQ(askFor(playMessage, playOf("request-1")), "accepted");
    const auto restart = client.request(topics::control(3, "restart"), "{}");
    EXPECT_EQ(client.ask(restart), "accepted");
    EXPECT_TRUE(client.waitFor(
        [&] { return client.status(3).generation > generation && client.isSynced(3); }));
    EXPECT_EQ(client.ask(restart), "accepted") << "without another start";
    const std::int64_t second = client.status(3).generation;
    EXPECT_EQ(client.ask(client.request(topics::control(3, "dropClient"), "{}")), "accepted");
    EXPECT_TRUE(client.waitFor([&] { return client.isActive(3) && client.isSynced(3); }));
    EXPECT_EQ(client.status(3).generation, second);
}

TEST(AnswerLogTest, KnowsTheClientsOfTheLastMinute) {
    paserver::AnswerLog log;
    const auto answer = [&log](const char* topic, const char* correlation, std::int64_t ms) {
        paserver::ClientRequest request;
        request.responseTopic = topic;
        request.correlation = correlation;
        log.put(request, "yes", ms);
    };
    answer("a", "1", 0);
    answer("b", "1", 0);
    answer("a", "2", 10);
    EXPECT_EQ(log.clients(), 2U);
    log.expire(paserver::AnswerLog::lifeMS);
    EXPECT_EQ(log.clients(), 1U);
    log.expire(paserver::AnswerLog::lifeMS + 10);
    EXPECT_EQ(log.clients(), 0U);
}

TEST_F(BrokerServerTest, CountsWhatItIsAskedForAndWhatBecomesOfIt) {
    start();
    const auto text = [this] { return metricsText(server->state(), server->counters()); };
    EXPECT_EQ(valueIn(text(), "public_address_server_announcements_total{outcome=\"cancelled\"}"),
              0);
    const palink::MqttMessage play = client.operation(playMessage, playOf("request-1"));
    EXPECT_EQ(client.ask(play), "accepted");
    EXPECT_EQ(client.ask(play), "accepted");
    EXPECT_NE(askFor(playMessage, playOf("request-1")), "accepted");
    EXPECT_EQ(askFor(cancelMessage, R"("request-1")"), "accepted");
    for (const char* const id : {"whole", "part"}) {
        client.ask(client.request(
            topics::uploadBegin(3),
            R"({"name": "/home/quillon/tmp/a.wav", "size": 1, "sha256": ")" +
                std::string("2d711642b726b04401627ca9fbac32f5c8530fb1903cc4db02258717921a4881") +
                "\"}",
            {{"upload", id}}));
    }
    client.ask(client.request(topics::uploadData(3), "x", {{"upload", "whole"}, {"offset", "0"}}));
    EXPECT_TRUE(client.sync());
    const std::string counted = text();
    const auto kinds = client.status(3).kinds;
    const std::pair<const char*, double> expected[] = {
        {"announcements_total{outcome=\"cancelled\"}", 1},
        {"announcements_total{outcome=\"finished\"}", 0},
        {"clients", 1},
        {"connected", 1},
        {"operations_total{outcome=\"accepted\",operation=\"playMessage\"}", 1},
        {"operations_total{outcome=\"refused\",operation=\"playMessage\"}", 1},
        {"operations_total{outcome=\"accepted\",operation=\"cancelMessage\"}", 1},
        {"records{kind=\"zone\"}", static_cast<double>(kinds.at(RecordKind::Zone).count)},
        {"records{kind=\"announcement\"}", 0},
        {"request_duration_seconds_count", 7},
        {"requests_repeated_total", 1},
        {"requests_total{kind=\"operation\"}", 4},
        {"requests_total{kind=\"uploadBegin\"}", 2},
        {"restarts_total", 0},
        {"uploads", 1},
        {"uploads_total{outcome=\"stored\"}", 1},
    };
    for (const auto& [series, value] : expected) {
        EXPECT_EQ(valueIn(counted, std::string("public_address_server_") + series), value)
            << series;
    }
    EXPECT_EQ(client.ask(client.request(topics::control(3, "restart"), "{}")), "accepted");
    EXPECT_EQ(valueIn(text(), "public_address_server_restarts_total"), 1);
    EXPECT_EQ(valueIn(text(), "public_address_server_uploads"), 0);
    EXPECT_EQ(valueIn(text(), "public_address_server_uploads_total{outcome=\"failed\"}"), 1);
    std::set<std::string> rows = rowsOf(counted);
    for (const std::string& row : documentedRows("## All panels")) {  // has those of the process
        rows.erase(row);
    }
    EXPECT_EQ(rows, documentedRows("## Simulated servers"));
}

TEST_F(BrokerServerTest, RefusesControlMessagesThatAreMalformed) {
    start();
    const auto control = [this](const std::string& function, const std::string& arguments) {
        return client.ask(client.request(topics::control(3, function), arguments));
    };
    EXPECT_EQ(control("setTrigger", R"({"trigger": 1})"),
              "the request is malformed: active is missing");
    EXPECT_EQ(control("setTrigger", "[]"), "the request is malformed: no JSON object");
    EXPECT_EQ(control("fly", "{}"), "a simulated server has no such function");
    EXPECT_EQ(control("ignoreRequests", R"({"on": true})"), "accepted");
    const auto play = client.operation(playMessage, playOf("request-1"));
    client.publish(play);
    EXPECT_EQ(control("ignored", "{}"), R"(accepted{"renewals":false,"requests":true})");
    EXPECT_FALSE(client.answerTo(play, std::chrono::milliseconds(0))) << "it would have come first";
}

TEST_F(BrokerServerTest, SurvivesWhatIsNoneOfTheProtocol) {
    start();
    const palink::ServerStatus before = client.status(3);
    const auto good = client.operation(  // without end
        playMessage, R"("request-1",0,500,"2,ip,\"Yard\",12!0,,0^0^0")");
    const std::string deep(100'000, '[');
    const std::string large(10'000'000, 'x');
    std::vector<palink::MqttMessage> messages(10, good);
    messages[0].responseTopic = topics::status(3);
    messages[1].responseTopic = "pa/clients/a/b/answers";
    messages[2].responseTopic.clear();
    messages[3].correlation.clear();
    messages[4].correlation.assign(65, 'c');
    messages[5].userProperties.pop_back();
    messages[6].topic = "pa/3/operations/092/17";
    messages[7].topic = "pa/3/operations/99999999999/17";
    messages[8].topic = "pa/3/levelRequests/x";
    messages[9].payload = large;
    messages.push_back(client.request(topics::control(3, "setTrigger"), deep));
    messages.push_back(client.request(topics::uploadBegin(3), deep, {{"upload", "u"}}));
    messages.push_back(client.request(topics::uploadBegin(3), "{}"));
    messages.push_back(
        client.request(topics::uploadData(3), "x", {{"upload", "u"}, {"offset", "-1"}}));
    messages.push_back(client.request("pa/4/status", deep));
    messages.push_back(client.request("pa/3/records/20/1", large));
    for (const std::string place : {"99/1", "20/0", "20/x", "20/99999999999"}) {
        messages.push_back(client.request("pa/3/records/" + place, "[]"));
    }
    for (const palink::MqttMessage& message : messages) {
        client.publish(message);
    }
    constexpr int flood = 3000;
    for (int i = 0; i < flood; ++i) {
        client.publish(client.request(topics::roundTrips(3)));
    }
    EXPECT_EQ(client.ask(client.request(topics::roundTrips(3))), "accepted");
    EXPECT_EQ(client.ask(good), "accepted") << "none of the others was carried out";
    EXPECT_TRUE(client.sync());
    EXPECT_EQ(client.status(3).generation, before.generation);
    EXPECT_EQ(server->failure(), "");
}

TEST_F(BrokerServerTest, LeavesItsNumberToAServerThatStartsLater) {
    start();
    paserver::ServerSettings same = settings();
    same.simulation.spool = folder.path() / "other";
    paserver::BrokerServer later(same);
    EXPECT_TRUE(client.waitFor([this] { return server->hasEnded(); }));
    EXPECT_EQ(server->failure(), "another server with the number 3 has started");
    EXPECT_TRUE(server->isReplaced());
    EXPECT_TRUE(client.waitFor([this] { return client.isActive(3) && client.isSynced(3); }));
    EXPECT_EQ(later.failure(), "");
}

TEST_F(BrokerServerTest, WithdrawsARecordThatTheBrokerDoesNotTake) {
    BrokerProcess narrow(std::string(BrokerProcess::open) + "max_packet_size 1500\n");
    BrokerObserver observer(narrow.options());
    paserver::ServerSettings there = settings();
    there.broker = narrow.options();
    server = std::make_unique<paserver::BrokerServer>(there);
    EXPECT_TRUE(observer.sync());
    std::string quotes;  // each has 4 bytes in the operation, and more in the record
    for (int i = 0; i < 200; ++i) {
        quotes += R"(\\\")";
    }
    const std::string text = R"("",0,500,"3,0.0.0.0,Yard,\")" + quotes +
                             R"(\",0,,startCondition,stopCondition,0,0,0,0")";
    EXPECT_EQ(observer.ask(observer.operation(playMessage, text)), "accepted");
    EXPECT_TRUE(observer.sync());
    EXPECT_EQ(observer.status(3).kinds.count(RecordKind::Announcement), 0U);
    EXPECT_EQ(server->failure(), "");
}

TEST_F(BrokerServerTest, EndsWhenItMayNotPublish) {
    BrokerProcess closed(std::string(BrokerProcess::open) + "acl_file " +
                         folder.write("acl", "topic read #\n") + '\n');
    paserver::ServerSettings there = settings();
    there.broker = closed.options();
    server = std::make_unique<paserver::BrokerServer>(there);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!server->hasEnded() && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_EQ(server->failure(), closed.options().url() +
                                     ": the broker refuses what the server publishes (reason "
                                     "code 135)");
    EXPECT_FALSE(server->isReady());
}

TEST_F(BrokerServerTest, GivesTheReasonOfAPreviewThatFailsAfterItsAnswer) {
    start();
    std::ofstream(folder.path() / "spool3" / "pa-previews") << "in the way of the folder";
    EXPECT_EQ(askFor(retrieveAudio, R"(request-1,en,Ann,48000,"Hello")"), "accepted");
    const auto late = client.answerTo({});
    ASSERT_TRUE(late);
    EXPECT_EQ(late->requestId + ' ' + late->operation, "request-1 108/3");
    EXPECT_NE(late->reason, "");
}

}  // namespace
