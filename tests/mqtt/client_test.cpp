// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <csignal>

#include "link/mqtt/MqttClient.h"
#include "tests/host/HostTest.h"
#include "tests/mqtt/BrokerProcess.h"
#include "tests/mqtt/LoopbackSocket.h"
#include "tests/mqtt/NotingListener.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace std::chrono_literals;

struct MqttClientTest : testing::Test {
    void connect() {
        client.start();
        EXPECT_TRUE(listener.reports("connected\n"));
    }
    const TestFolder folder;
    const std::string rights = folder.write("acl", "topic deny denied\ntopic readwrite #\n");
    BrokerProcess broker{BrokerProcess::open + ("acl_file " + rights + "\n")};
    NotingListener listener;
    palink::MqttClient client{broker.options(), "pa-1", listener};
};

TEST_F(MqttClientTest, AMessageArrivesWithItsProperties) {
    listener.noted = [](const palink::ReceivedMessage& message) {
        return std::string(message.topic()) + (message.retained() ? " retained " : " ") +
               std::string(message.payload()) + " for " + message.responseTopic() + " " +
               std::to_string(message.correlation().size()) + " " +
               std::to_string(message.expirySeconds().value_or(0)) + " " +
               message.userProperty("generation").value_or("none") + "\n";
    };
    connect();
    palink::MqttMessage full{"a/full", "text", 1, true};
    full.responseTopic = "answers";
    full.correlation = std::string("\0\1\2", 3);
    full.expirySeconds = 1000;
    full.userProperties = {{"client", "x"}, {"generation", "17"}};
    client.publish(full);
    ASSERT_TRUE(listener.reports("published 16\n"));
    client.subscribe({"a/#", "b"}, 0);
    client.publish({"b", "", 0});
    EXPECT_EQ(listener.steps.waitFor("b "),
              "connected\npublished 16\na/full retained text for answers 3 1000 17\n"
              "b  for  0 0 none\n");
    listener.steps.take();
    client.unsubscribe({"a/#"});
    client.subscribe({"a/#"}, 0, true);
    client.publish({"a/own", "", 0});
    client.publish({"b", "last", 0});
    EXPECT_EQ(listener.steps.waitFor("last"),
              "a/full retained text for answers 3 1000 17\nb last for  0 0 none\n")
        << "retained messages again, none of its own";
}

TEST_F(MqttClientTest, TheBrokersReasonReachesThePublisher) {
    connect();
    EXPECT_NE(client.publish({"a", ""}), client.publish({"denied", ""}));
    EXPECT_EQ(client.publish({"denied", "", 0}), 0);
    ASSERT_TRUE(listener.reports("published 16\n"));
    ASSERT_TRUE(listener.reports("published 135\n"));
    EXPECT_NE(thrownBy<std::invalid_argument>([&] {
                  client.publish({"a/#", ""});
              }).find("cannot publish to \"a/#\": "),
              std::string::npos);
    palink::MqttMessage broken{"a", ""};
    broken.userProperties = {{"client", "\xFF"}};
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { client.publish(broken); }),
              "MQTT cannot carry this user property");
}

TEST_F(MqttClientTest, WhatWaitsIsBoundedAndForgottenWithTheConnection) {
    listener.whenConnected = [&] { client.subscribe({"a"}, 0); };
    connect();
    broker.signal(SIGSTOP);
    for (std::size_t i = 0; i < client.maxOutstanding; ++i) {
        EXPECT_TRUE(client.waitForSpace(0ms));
        client.publish({"a", "old"});
    }
    EXPECT_FALSE(client.waitForSpace(0ms));
    broker.signal(SIGCONT);
    EXPECT_TRUE(client.waitForSpace(1min));

    broker.signal(SIGSTOP);
    std::size_t taken = 0;
    const std::string large(100'000, 'x');
    while (client.publish({"a", large})) {
        ++taken;
    }
    EXPECT_GE(taken, client.maxWaitingBytes / large.size() - client.maxOutstanding);
    EXPECT_LE(taken, client.maxWaitingBytes / large.size() + 1);
    listener.steps.take();
    broker.restart();
    ASSERT_TRUE(listener.reports("connected\n"));
    EXPECT_TRUE(client.publish({"a", "new"}));
    EXPECT_EQ(listener.steps.waitFor("a = new").find("a = x"), std::string::npos);
}

TEST_F(MqttClientTest, TheWillIsPublishedUnlessTheClientLeaves) {
    NotingListener watching;
    palink::MqttClient watcher(broker.options(), "pa-2", watching);
    watching.whenConnected = [&] { watcher.subscribe({"a"}, 0); };
    watcher.start();
    ASSERT_TRUE(watching.reports("connected\n"));
    watcher.publish({"a", "begin", 0});
    ASSERT_TRUE(watching.reports("begin\n"));
    client.setWill({"a", "lost"});
    connect();
    client.dropConnection();
    ASSERT_TRUE(listener.reports("dropped by this client\nconnected\n"));
    client.publish({"a", "before the end"});
    client.stop();
    watcher.publish({"a", "after the end", 0});
    EXPECT_EQ(watching.steps.waitFor("after the end"),
              "connected\na = begin\na = lost\na = before the end\na = after the end\n");
}

TEST_F(MqttClientTest, TheApplicationsSettingOfSigpipeStays) {
    const auto before = std::signal(SIGPIPE, SIG_DFL);
    const palink::MqttClient another(broker.options(), "pa-2", listener);
    EXPECT_EQ(std::signal(SIGPIPE, before), SIG_DFL);
}

/// Time does not pass: what ends here does so without a time limit.
struct MqttClientStopTest : HostTest {
    palink::MqttClient& start(const palink::BrokerOptions& options) {
        client.emplace(options, "pa-1", listener);
        client->start();
        return *client;
    }
    NotingListener listener;
    std::optional<palink::MqttClient> client;
};

TEST_F(MqttClientStopTest, AStopEndsEachStateAndTimeAnAttempt) {
    start(palink::parseBrokerUrl("mqtt://127.0.0.1:1")).stop();
    start(palink::parseBrokerUrl("mqtt://127.0.0.1:1"));
    ASSERT_TRUE(listener.reports("disconnected: cannot connect: Connection refused\n"));
    client->stop();  // in the pause

    const LoopbackSocket silent(10);
    start(silent.options());
    const int accepted = accept(silent.descriptor(), nullptr, nullptr);
    client->stop();
    close(accepted);
    listener.steps.take();
    start(silent.options());
    const int unanswered = accept(silent.descriptor(), nullptr, nullptr);
    char byte = 0;
    EXPECT_EQ(recv(unanswered, &byte, 1, 0), 1);  // the attempt is under way
    nowMS += 10'000;
    ASSERT_TRUE(listener.reports("disconnected: no answer within 10 s\n"));
    close(unanswered);

    BrokerProcess broker;
    listener.steps.take();
    start(broker.options());
    ASSERT_TRUE(listener.reports("connected\n"));
    broker.signal(SIGSTOP);
    client->publish({"a", ""});
    client->stop(1ms);
    client->stop();
}

TEST_F(MqttClientStopTest, EachReasonOfABrokerIsATextForPeople) {
    listener.whenConnected = [this] { client->subscribe({"pa/1/#"}, 0); };
    const auto connectionRefused = [](char code) {
        return std::string("\x20\x03\x00", 3) + code + '\0';
    };
    const std::string accepted("\x20\x03\x00\x00\x00", 5);
    const auto ended = [](char code) { return std::string("\xE0\x02") + code + '\0'; };
    const struct {
        std::vector<std::string> replies;
        std::string expected;
        bool isFrozen = false;  // afterwards
    } rows[] = {
        {{connectionRefused('\x86')}, "refused: wrong user name or password"},
        {{connectionRefused('\x89')},
         "disconnected: the broker takes no more clients at the moment"},
        {{connectionRefused('\x80')},
         "disconnected: the broker refuses the connection (reason code 128)"},
        {{"HTTP/1.1 400 Bad Request\r\n" + std::string(100, ' ')},
         "disconnected: what answers there does not speak MQTT 5"},
        {{accepted, ended('\x8E')},
         "disconnected: another client has connected with the same identifier"},
        {{accepted, ended('\x97')},
         "disconnected: the broker has ended the connection (reason code 151)"},
        {{""},
         "disconnected: what answers there has closed the connection: it may not be a broker, or "
         "expect TLS"},
        {{accepted, std::string("\x90\x04\x00\x01\x00\x87", 6)},
         "disconnected: the broker has closed the connection"},
        // With a keep alive of 1 s, which the broker chooses.
        {{std::string("\x20\x06\x00\x00\x03\x13\x00\x01", 8)},
         "disconnected: the broker does not answer any more",
         true},
    };
    for (const auto& row : rows) {
        listener.steps.take();
        const LoopbackSocket peer(10);
        start(peer.options());
        const int accepting = accept(peer.descriptor(), nullptr, nullptr);
        for (const std::string& reply : row.replies) {  // one to each packet
            std::array<char, 1000> packet{};
            EXPECT_GT(recv(accepting, packet.data(), packet.size(), 0), 0);
            send(accepting, reply.data(), reply.size(), MSG_NOSIGNAL);
        }
        if (!row.isFrozen) {
            close(accepting);
        }
        const std::string text = listener.steps.waitFor("ed: ");
        EXPECT_NE(text.find(row.expected + "\n"), std::string::npos) << text << row.expected;
        client.reset();
        if (row.isFrozen) {
            close(accepting);
        }
    }
    EXPECT_EQ(log.text(), "E2 the broker refuses the subscription to pa/1/# (reason code 135)\n");
}

}  // namespace
