// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <memory>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "link/mqtt/MqttTransport.h"
#include "link/mqtt/uploadMessages.h"
#include "tests/mqtt/MqttLinkTest.h"
#include "tests/support/thrownBy.h"

namespace {

using pa::RecordKind;

struct MqttTransportTest : MqttLinkTest {};

TEST_F(MqttTransportTest, SyncsMixedRecordsAndFollowsThem) {
    server.put(RecordKind::Source, 7, {"S"});
    server.put(RecordKind::Schedule, -3, {std::nullopt});
    server.put(RecordKind::Zone, 1, {"Z"});
    server.status.speed = 60;
    nowMS = 500'000;
    server.status.hostClockMS = 490'000;
    server.publishStatus();
    transport.start(events);
    const std::string synced = events.steps.waitFor("synced\n");
    EXPECT_EQ(synced.rfind("connected 1 1 Station 1\n", 0), 0U);
    EXPECT_NE(synced.find("record 1 source 7 S\n"), std::string::npos);
    EXPECT_NE(synced.find("record 1 schedule -3 null\n"), std::string::npos);
    EXPECT_NE(synced.find("record 1 zone 1 Z\nsynced\n"), std::string::npos) << synced;
    // 1,000,000 s, and 10 s of the host at 60 s each.
    EXPECT_EQ(events.info.get_value("clock"), "1000600");
    EXPECT_EQ(events.info.get_value("speed"), "60");
    EXPECT_EQ(events.info.get_value("timeZone"), "Europe/Vienna");
    EXPECT_TRUE(transport.statistics().synced);
    events.steps.take();
    server.put(RecordKind::Zone, 1, {"Z"});  // as it was
    server.put(RecordKind::Zone, 2, {"Y"});
    server.withdraw(RecordKind::Source, 7);
    EXPECT_EQ(events.steps.waitFor("withdrawal"), "record 1 zone 2 Y\nwithdrawal 1 source 7\n");
}

TEST_F(MqttTransportTest, WhatTheServerDoesNotHoldAnyMoreIsWithdrawnAlsoWithoutAMessage) {
    server.put(RecordKind::Zone, 2, {"Y"});
    server.put(RecordKind::Schedule, 5, {"X"});
    startServer();
    const std::pair<RecordKind, int> gone[] = {{RecordKind::Zone, 2}, {RecordKind::Schedule, 5}};
    for (const auto& [kind, key] : gone) {
        const std::string topic = palink::topics::record(1, kind, key);
        server.publish(server.retained(topic, ""));  // without a generation
        log.waitFor("message on >" + topic + "< dropped: no generation");
        server.forget(kind, key);
    }
    server.publishStatus();
    passUntil([&] { return events.steps.text().find("zone") != std::string::npos; });
    EXPECT_EQ(events.steps.text(), "withdrawal 1 schedule 5\nwithdrawal 1 zone 2\n");
    EXPECT_NE(log.text().find("server 1: records of kind zone differ from its status (2 have "
                              "arrived, it holds 1): they are fetched again\n"),
              std::string::npos);
}

TEST_F(MqttTransportTest, ABrokerThatDoesNotAnswerIsAskedAgainMuchLater) {
    server.put(RecordKind::Zone, 1, {"Z"});
    server.publishStatus();
    server.publishRecord(RecordKind::Zone, 1, "");
    transport.start(events);
    events.steps.waitFor("connected");
    settle();
    broker.signal(SIGSTOP);
    passUntil([&] { return transport.statistics().fetches == 1; });
    transport.requestRoundTrip(1);
    passUntil([&] { return transport.statistics().requests == 0; });  // has expired, after 10 s
    EXPECT_EQ(transport.statistics().fetches, 1U);
    passUntil([&] { return transport.statistics().fetches == 2; });
    broker.signal(SIGCONT);
}

TEST_F(MqttTransportTest, RecordsOfAnotherGenerationThanTheStatusHasAreNotUsed) {
    server.status.generation = 5;
    server.publishRecord(RecordKind::Zone, 8, R"(["left behind"])", 4);
    startServer();
    EXPECT_EQ(transport.statistics().outdated, 1U);
    server.answer = [](const palink::ReceivedMessage&) { return std::nullopt; };
    EXPECT_TRUE(transport.requestRoundTrip(1));
    server.status.generation = 6;
    server.put(RecordKind::Zone, 9, {"early"});
    server.publishRecord(RecordKind::Zone, 1, R"(["Z"])");
    server.publishStatus();
    const std::string steps = events.steps.waitFor("synced\n");
    EXPECT_EQ(steps.rfind("disconnected: server 1 has started again\nconnected 1 1", 0), 0U);
    EXPECT_NE(steps.find("record 1 zone 9 early\n"), std::string::npos);
    EXPECT_EQ(transport.statistics().requests, 0U) << "the round trip ends with its connection";
    events.steps.take();
    // The will of the earlier start may come late.
    server.publish(
        server.retained("pa/1/status", R"({"protocol":1,"state":"offline","generation":5})"));
    server.put(RecordKind::Zone, 10, {"later"});
    EXPECT_EQ(events.steps.waitFor("later\n"), "record 1 zone 10 later\n");
}

// -------------------------------------------------------------------------- requests

TEST_F(MqttTransportTest, AnOperationWithoutAnAnswerIsSentAgainUntilItsTimeHasPassed) {
    startServer();
    std::set<std::string> correlations;
    std::vector<std::uint32_t> expiries;
    server.answer = [&](const palink::ReceivedMessage& message) -> std::optional<palink::Answer> {
        if (message.topic() == "pa/1/roundTrips") {
            return palink::Answer{};
        }
        correlations.insert(message.correlation());
        expiries.push_back(message.expirySeconds().value_or(0));
        return std::nullopt;
    };
    EXPECT_THROW(transport.send({-1, {92, 18}, 1, std::string(2'000'000, 'x')}), std::length_error);
    EXPECT_TRUE(transport.send(cancel("a")));
    for (int i = 0; i < 5; ++i) {
        server.steps.waitFor("operations/92/18 \"a\"\n");
        settle();
        server.steps.take();
        EXPECT_EQ(log.text(), "");
        nowMS += 2000;
    }
    EXPECT_EQ(
        log.waitFor("unknown\n"),
        "E2 operation 92/18 of request >a< to server 1: no answer within 10 s: the outcome is "
        "unknown\n");
    server.endAnswering();
    EXPECT_EQ(correlations.size(), 1U);
    EXPECT_EQ(expiries, (std::vector<std::uint32_t>{10, 8, 6, 4, 2}));
    EXPECT_EQ(transport.statistics().unanswered, 1U);
}

TEST_F(MqttTransportTest, AnOperationIsSentAgainOnceAfterTheBrokerHasRestarted) {
    startServer();
    std::set<std::string> correlations;
    std::atomic<bool> isSilent{true};
    server.answer = [&](const palink::ReceivedMessage& message) {
        correlations.insert(message.correlation());
        return isSilent ? std::nullopt : std::optional(palink::Answer{false, "done"});
    };
    EXPECT_TRUE(transport.send(cancel("a")));
    EXPECT_TRUE(transport.requestRoundTrip(1));
    server.steps.waitFor("roundTrips");
    server.steps.take();
    broker.kill();
    events.steps.waitFor("disconnected: the broker mqtt://");
    EXPECT_FALSE(transport.send(cancel("b")));
    EXPECT_FALSE(transport.requestRoundTrip(2));
    isSilent = false;
    broker.restart();
    passUntil([&] { return server.steps.text().find("ready\n") != std::string::npos; });
    server.publishStatus();
    passUntil([&] { return events.steps.text().find(">a<: done") != std::string::npos; });
    server.endAnswering();
    EXPECT_EQ(correlations.size(), 2U) << "the round trip ends with its connection";
    EXPECT_EQ(events.steps.text().find("round trip"), std::string::npos);
    EXPECT_EQ(transport.statistics().requests, 0U);
}

TEST_F(MqttTransportTest, TheRefusalOfAServerThatHasStartedAgainIsNone) {
    startServer();
    server.answer = [asked = 0](const palink::ReceivedMessage&) mutable {
        return ++asked > 1 ? std::optional(palink::Answer{false, "another"}) : std::nullopt;
    };
    EXPECT_TRUE(transport.send(cancel("a")));
    server.steps.waitFor("\"a\"\n");
    server.status.generation = 2;
    server.put(RecordKind::Zone, 1, {"Z"});
    server.publishStatus();
    events.steps.waitFor("synced\n");
    nowMS += 2000;  // it is sent again
    EXPECT_EQ(log.waitFor("unknown\n"),
              "E2 operation 92/18 of request >a< to server 1: the server has started again: the "
              "outcome is unknown\n");
    EXPECT_EQ(events.steps.text().find("refusal"), std::string::npos);
}

TEST_F(MqttTransportTest, AnOperationMayFailAfterItsAnswer) {
    startServer();
    const std::string topic = "pa/clients/pa-0f8fad5b-d9cb-469f-a165-70867728950e/answers";
    for (const char* const operation : {"", "108/03", "108/3"}) {
        server.publish({topic, palink::encodeAnswer({false, "no voice", "a", "", operation})});
    }
    EXPECT_EQ(events.steps.waitFor("no voice\n"), "refusal 108/3 >a<: no voice\n");
    EXPECT_EQ(transport.statistics().malformed, 2U);
}

TEST_F(MqttTransportTest, ALevelIsAskedForAsLongAsItsFeedIsSubscribed) {
    startServer();
    const palink::MqttMessage reading{"pa/1/levels/4", "-23.5"};
    transport.meterLevel(true, 4);
    server.steps.waitFor("levelRequests/4 \n");
    server.publish(reading);
    EXPECT_EQ(events.steps.waitFor("level"), "level 4 -23\n");
    server.steps.take();
    nowMS += 2000;
    server.steps.waitFor("levelRequests/4 \n");
    transport.meterLevel(false, 4);
    server.publish(reading);
    nowMS += 2000;
    server.steps.take();
    EXPECT_TRUE(transport.requestRoundTrip(1));
    EXPECT_EQ(events.steps.waitFor("round trip"), "level 4 -23\nround trip 1\n");
    EXPECT_EQ(server.steps.text(), "roundTrips \n");
}

/// What a server does with an upload.
struct UploadServer {
    palink::Answer take(const palink::ReceivedMessage& message) {
        ids.insert(message.userProperty("upload").value_or(""));
        if (message.topic() == "pa/1/uploads/begin") {
            begin = palink::decodeUploadBegin(message.payload());
        } else if (message.userProperty("offset") == std::to_string(data.size())) {
            data += message.payload();
            EXPECT_LE(message.payload().size(), palink::maxUploadBytes);
        }
        const auto size = static_cast<std::int64_t>(data.size());
        return {true, "", "", palink::encodeUploadProgress({size == begin.size, size})};
    }

    palink::UploadBegin begin;
    std::string data;
    std::set<std::string> ids;
};

TEST_F(MqttTransportTest, AnUploadGoesOnWhereItWasWhenTheConnectionWasLost) {
    startServer();
    const TestFolder folder;
    std::string content(600'000, 'a');
    content[400'000] = 'b';
    const std::string file = folder.write("a.wav", content);
    UploadServer uploads;
    std::atomic<bool> isRestarted{false};
    server.answer = [&](const palink::ReceivedMessage& message) -> std::optional<palink::Answer> {
        const bool isSilent = !isRestarted && uploads.data.size() > 200'000;
        return isSilent ? std::nullopt : std::optional(uploads.take(message));
    };
    palink::UploadResult result;
    std::thread uploading([&] { result = transport.upload(file, "/home/quillon/tmp/a.wav"); });
    server.steps.waitFor("uploads/data 458752\n");
    timePasses = false;
    broker.kill();
    events.steps.waitFor("disconnected");
    server.steps.take();
    isRestarted = true;
    broker.restart();
    passUntil([&] { return server.steps.text().find("ready\n") != std::string::npos; });
    server.publishStatus();
    passUntil([&] { return transport.statistics().dstNo == 1; });
    timePasses = true;
    uploading.join();
    server.endAnswering();
    EXPECT_TRUE(result.stored) << result.reason;
    EXPECT_TRUE(uploads.data == content);
    EXPECT_EQ(uploads.ids.size(), 1U);
    EXPECT_EQ(server.steps.text().find("uploads/data 0\n"), std::string::npos);
    EXPECT_EQ(uploads.begin.name, "/home/quillon/tmp/a.wav");
}

TEST_F(MqttTransportTest, AnUploadThatIsRefusedAbandonedOrMakesNoProgressEnds) {
    const TestFolder folder;
    const std::string file = folder.write("a.wav", "test");
    const std::int64_t startMS = nowMS;
    EXPECT_EQ(transport.upload(file, "/a").reason,
              "no progress for 30 s: no connection to the server");
    EXPECT_LE(nowMS, startMS + 31'000);
    const auto isAbandoned = std::make_shared<std::atomic<bool>>(false);  // outlives the test
    transport.abandonWaitsWhen([isAbandoned] { return isAbandoned->load(); });
    startServer();
    server.answer = [](const palink::ReceivedMessage&) {
        return palink::Answer{false, "no space", "", ""};
    };
    EXPECT_EQ(transport.upload(file, "/a").reason, "no space");
    EXPECT_NE(transport.upload("/not/there", "/a").reason, "");
    // sha256 of "test", from the command of that name.
    EXPECT_NE(server.steps.text().find(
                  "9f86d081884c7d659a2feaa0c55ad015a3bf4f1b2b0b822cd15d6c15b0f00a08"),
              std::string::npos);
    server.answer = [isAbandoned](const palink::ReceivedMessage&) {
        *isAbandoned = true;
        return std::optional<palink::Answer>();
    };
    EXPECT_EQ(transport.upload(file, "/a").reason, "it was interrupted");
    EXPECT_EQ(thrownBy<std::runtime_error>([&] { transport.control("restart", "{}"); }),
              "the wait was interrupted: the outcome is unknown");
}

}  // namespace
