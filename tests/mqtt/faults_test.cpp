// SPDX-License-Identifier: Apache-2.0
#include <mutex>
#include <regex>
#include <string>
#include <vector>

#include "tests/mqtt/MqttLinkTest.h"

namespace {

using pa::RecordKind;

/// Whatever arrives, the link goes on.
struct LinkFaultsTest : MqttLinkTest {};

TEST_F(LinkFaultsTest, AMalformedMessageIsReportedOnceAndDropped) {
    startServer();
    const std::string answers = "pa/clients/pa-0f8fad5b-d9cb-469f-a165-70867728950e/answers";
    const struct {
        std::string topic;
        std::string payload;
        const char* fault;
        const char* generation = "1";
        const char* correlation = "";
    } rows[] = {
        {"pa/1/records/20/2", "{", "no JSON array of strings and nulls"},
        {"pa/1/records/20/3", "[1]", "no JSON array of strings and nulls"},
        {"pa/1/records/20/4", std::string(100'000, '['), "no JSON array of strings and nulls"},
        {"pa/1/records/20/5", std::string(10'000'000, 'x'), "a record of more than 1 MiB"},
        {"pa/1/records/20/x", "[]", "no such topic"},
        {"pa/1/records/20/99999999999", "[]", "no such topic"},
        {"pa/1/records/20/6", "[]", "no generation", "x"},
        {"pa/1/status", "[]", "no JSON object"},
        {"pa/01/status", "{}", "no such topic"},
        {answers, R"({"outcome":"accepted"})", "no correlation data"},
        {answers, "{}", "outcome is missing", "1", "c"},
    };
    for (const auto& row : rows) {
        palink::MqttMessage message{row.topic, row.payload};
        message.correlation = row.correlation;
        message.userProperties = {{"generation", row.generation}};
        server.publish(message);
        const std::string line = "E2 message on >" + row.topic + "< dropped: " + row.fault + '\n';
        EXPECT_NE(log.waitFor(line).find(line), std::string::npos) << row.payload.substr(0, 20);
        nowMS += 5000;  // at most ten lines are written in ten seconds
    }
    EXPECT_EQ(transport.statistics().malformed, std::size(rows));
    // A kind that the client does not know is not subscribed to. An answer to no request, and the
    // record of a server that is not used, are on the way at times: they are no fault.
    server.publishRecord(static_cast<RecordKind>(99), 1, "[]");
    palink::MqttMessage answer{answers, R"({"outcome":"accepted"})"};
    answer.correlation = "of no request";
    server.publish(answer);
    settle();
    EXPECT_EQ(transport.statistics().malformed, std::size(rows));
    EXPECT_EQ(events.steps.text().find("record"), std::string::npos) << events.steps.text();
    passUntil([this] { return transport.statistics().synced; });
}

TEST_F(LinkFaultsTest, AFloodOfMalformedMessagesFillsNoLog) {
    startServer();
    for (int i = 0; i < 1000; ++i) {
        server.publish(server.retained("pa/1/records/20/x" + std::to_string(i), "["));
    }
    settle();
    nowMS += 10'000;
    server.publish(server.retained("pa/1/records/20/y", "["));
    const std::string text = log.waitFor("20/y<");
    EXPECT_NE(text.find("E2 990 more messages that are not as the protocol has them were dropped"),
              std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 12);
}

TEST_F(LinkFaultsTest, ABrokerThatIsFrozenForTenSecondsCostsNoMoreThanTheOperation) {
    startServer();
    broker.signal(SIGSTOP);
    EXPECT_TRUE(transport.send(cancel("a")));
    server.put(RecordKind::Zone, 2, {"Y"});
    server.publishStatus();
    passUntil([this] { return log.text().find("unknown\n") != std::string::npos; });
    broker.signal(SIGCONT);
    events.steps.waitFor("record 1 zone 2 Y\n");
    settle();
    EXPECT_EQ(log.text(),
              "E2 operation 92/18 of request >a< to server 1: no answer within 10 s: the outcome "
              "is unknown\n");
    EXPECT_EQ(server.steps.text(), "ready\noperations/92/18 \"a\"\nroundTrips \n");
    EXPECT_EQ(events.steps.text(), "record 1 zone 2 Y\nround trip 1001\n");
    EXPECT_TRUE(transport.statistics().synced);
}

TEST_F(LinkFaultsTest, TwoClientsWithOneIdentifierEndEachOthersConnectionEverMoreRarely) {
    startServer();
    NotedEvents others;
    palink::MqttTransport other(broker.options(), uuid);
    other.start(others);
    const std::int64_t endMS = nowMS + 100'000;
    passUntil([&] { return nowMS >= endMS; }, 50);
    const auto count = [text = events.steps.text() + others.steps.text()](const char* piece) {
        const std::regex regex(piece);
        return std::distance(std::sregex_iterator(text.begin(), text.end(), regex), {});
    };
    const auto losses = count("disconnected: ");
    EXPECT_GE(losses, 3);
    EXPECT_LE(losses, 40);
    EXPECT_LE(losses, count("connected 1 1 Station 1") + 1) << "each is reported once";
    other.stop();
    passUntil([this] { return transport.statistics().synced; });
}

/// Events that are taken only while the test lets them.
struct SlowEvents : NotedEvents {
    void deliver(palink::ServerEvent event) override {
        const std::lock_guard guard(busy);
        NotedEvents::deliver(std::move(event));
    }
    std::mutex busy;
};

TEST_F(LinkFaultsTest, WhatTheBrokerDropsForASlowClientIsFetchedAgain) {
    constexpr int most = 100;  // messages that wait for a client in the broker
    constexpr std::size_t littleSpace = 1000;
    const BrokerProcess strict(BrokerProcess::open +
                               std::string("log_type notice\nmax_queued_messages ") +
                               std::to_string(most) + '\n');
    ScriptedBrokerServer busyServer(strict.options(), 1);
    SlowEvents slow;
    palink::MqttTransport held(strict.options(), uuid, {}, littleSpace);
    busyServer.publishStatus();
    held.start(slow);
    slow.steps.waitFor("synced\n");
    const std::string large(20'000, 'x');
    int round = 0;
    {
        const std::lock_guard guard(slow.busy);
        while (strict.log().find("messages are being dropped for client pa-") ==
               std::string::npos) {
            ++round;
            for (int key = 1; key <= most; ++key) {
                busyServer.put(RecordKind::Zone, key, {std::to_string(round), large});
            }
        }
        busyServer.publishStatus();
        busyServer.settle();  // else the rest of the round finds space in the broker
    }
    passUntil([&] { return held.statistics().fetches > 0 && held.statistics().synced; });
    for (int key = 1; key <= most; ++key) {
        const std::string record = "record 1 zone " + std::to_string(key) + ' ';
        const std::string last = record + std::to_string(round) + '\n';
        const std::string text = slow.steps.waitFor(last);
        ASSERT_NE(text.find(last), std::string::npos);
        EXPECT_EQ(text.rfind(record), text.rfind(last)) << key;
    }
    EXPECT_NE(log.text().find("they are fetched again\n"), std::string::npos);
}

TEST_F(LinkFaultsTest, AStopEndsWhatWaitsAndASecondStartConnectsAgain) {
    startServer();
    server.answer = [](const palink::ReceivedMessage&) { return std::nullopt; };
    EXPECT_TRUE(transport.send(cancel("a")));
    std::string fault;
    std::thread asking([&] {
        try {
            transport.control("dropClient", "{}");
        } catch (const std::runtime_error& e) {
            fault = e.what();
        }
    });
    server.steps.waitFor("control/dropClient {}\n");
    transport.stop();
    asking.join();
    EXPECT_EQ(fault, "the connection is lost");
    EXPECT_NE(log.text().find("E2 the link has stopped: the outcome of 2 requests is unknown\n"),
              std::string::npos);
    events.steps.take();
    transport.start(events);
    EXPECT_EQ(events.steps.waitFor("synced\n"),
              "connected 1 1 Station 1\nrecord 1 zone 1 Z\nsynced\n");
}

}  // namespace
