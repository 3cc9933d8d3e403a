// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "link/mqtt/MqttClient.h"
#include "link/mqtt/answer.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/serverStatus.h"
#include "link/mqtt/topics.h"
#include "tests/host/Transcript.h"

/// A server on a broker that does what the test chooses, and notes what it is asked.
class ScriptedBrokerServer : palink::MqttListener {
public:
    ScriptedBrokerServer(const palink::BrokerOptions& options, int dstNo,
                         std::int64_t generation = 1)
        : dstNo_(dstNo),
          client_(options, "pa-server-" + std::to_string(dstNo) + '-' + std::to_string(generation),
                  *this) {
        status.online = true;
        status.generation = generation;
        status.name = "Station " + std::to_string(dstNo);
        status.software = "test";
        status.timeZone = "Europe/Vienna";
        status.clockMS = 1'000'000'000;
        palink::ServerStatus dead;
        dead.generation = generation;
        client_.setWill(retained(palink::topics::status(dstNo), palink::encodeStatus(dead)));
        client_.start();
        steps.waitFor("ready\n");
    }

    /// Waits until the broker has what was published so far. Takes the steps.
    void settle() {
        steps.take();
        publishToItself();
        steps.waitFor("ready\n");
    }

    /// Publishes a record.
    void put(pa::RecordKind kind, int key, const pa::RecordFields& fields) {
        const std::string payload = palink::encodeRecord(fields);
        held_[{kind, key}] = payload;
        publishRecord(kind, key, payload);
    }
    void withdraw(pa::RecordKind kind, int key) {
        forget(kind, key);
        publishRecord(kind, key, "");
    }

    /// Counts a record no longer, without withdrawing it.
    void forget(pa::RecordKind kind, int key) { held_.erase({kind, key}); }

    /// Publishes a record without counting it.
    void publishRecord(pa::RecordKind kind, int key, const std::string& payload,
                       std::int64_t generation = 0) {
        palink::MqttMessage message = retained(palink::topics::record(dstNo_, kind, key), payload);
        message.userProperties = {
            {"generation", std::to_string(generation != 0 ? generation : status.generation)}};
        publish(message);
    }

    void publishStatus() {
        status.kinds.clear();
        for (const auto& [place, payload] : held_) {
            ++status.kinds[place.first].count;
            status.kinds[place.first].checksum +=
                palink::recordChecksum(place.first, place.second, payload);
        }
        publish(retained(palink::topics::status(dstNo_), palink::encodeStatus(status)));
    }

    /// Ends as a process that is killed: the broker publishes its will.
    void die() { client_.dropConnection(); }

    void publish(const palink::MqttMessage& message) {
        client_.waitForSpace(std::chrono::minutes(1));
        client_.publish(message);
    }

    static palink::MqttMessage retained(const std::string& topic, const std::string& payload) {
        return {topic, payload, 1, true};
    }

    /// What `answer` has noted so far may be looked at afterwards.
    void endAnswering() { const std::lock_guard guard(answering_); }

    palink::ServerStatus status;
    Transcript steps;  // a line for each request, as in "operations/92/18 payload"

    /// What it answers; nothing for no answer. Set before the first request.
    std::function<std::optional<palink::Answer>(const palink::ReceivedMessage&)> answer =
        [](const palink::ReceivedMessage&) { return palink::Answer{}; };

private:
    void onConnected() override {
        client_.subscribe(
            {palink::topics::operationsFor(dstNo_), palink::topics::roundTrips(dstNo_),
             palink::topics::levelRequestsFor(dstNo_), palink::topics::uploadsFor(dstNo_),
             palink::topics::controlOf(dstNo_)},
            1);
        publishToItself();  // the subscriptions are there when it arrives
    }
    void publishToItself() { client_.publish({palink::topics::control(dstNo_, "begin"), ""}); }
    void onDisconnected(const std::string& /*reason*/, bool /*isPermanent*/) override {
        steps.add("disconnected\n");
    }
    void onMessage(const palink::ReceivedMessage& message) override {
        const std::string topic(message.topic());
        if (topic == palink::topics::control(dstNo_, "begin")) {
            steps.add("ready\n");
            return;
        }
        const std::string rest = topic.substr(topic.find('/', 3) + 1);
        const std::string offset = message.userProperty("offset").value_or("");
        steps.add(rest + ' ' + (offset.empty() ? std::string(message.payload()) : offset) + '\n');
        if (message.responseTopic().empty()) {
            return;
        }
        std::optional<palink::Answer> answered;
        {
            const std::lock_guard guard(answering_);
            answered = answer(message);
        }
        if (answered) {
            palink::MqttMessage response{message.responseTopic(), palink::encodeAnswer(*answered)};
            response.correlation = message.correlation();
            client_.publish(response);
        }
    }

    const int dstNo_;
    std::mutex answering_;
    std::map<std::pair<pa::RecordKind, int>, std::string> held_;  // payloads
    palink::MqttClient client_;
};
