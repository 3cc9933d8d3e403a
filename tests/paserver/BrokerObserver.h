// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "framework/uuid.h"
#include "link/mqtt/MqttClient.h"
#include "link/mqtt/answer.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/serverStatus.h"
#include "link/mqtt/topics.h"

/// A client on a broker that sees every message and asks servers by hand.
class BrokerObserver final : private palink::MqttListener {
public:
    explicit BrokerObserver(const palink::BrokerOptions& options)
        : client_(options, "pa-" + uuid_, *this) {
        client_.start();
        EXPECT_TRUE(waitFor([this] { return connected_; }));
    }
    ~BrokerObserver() override { client_.stop(); }

    const std::string& uuid() const { return uuid_; }

    /// Waits until a condition on what has arrived holds.
    template <class Condition>
    bool waitFor(Condition condition,
                 std::chrono::milliseconds longest = std::chrono::seconds(10)) {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, longest, condition);
    }

    palink::ServerStatus status(int dstNo) const {
        const std::string payload = last(palink::topics::status(dstNo));
        return payload.empty() ? palink::ServerStatus{} : palink::decodeStatus(payload);
    }
    bool isOnline(int dstNo) const { return status(dstNo).online; }
    bool isActive(int dstNo) const {
        return isOnline(dstNo) && status(dstNo).role == palink::ServerRole::Active;
    }
    /// The payload of a record; empty for none.
    std::string record(int dstNo, pa::RecordKind kind, int key) const {
        return last(palink::topics::record(dstNo, kind, key));
    }
    /// Whether the records that have arrived are those that the status names.
    bool isSynced(int dstNo) const {
        const std::lock_guard guard(lock_);
        std::map<pa::RecordKind, palink::KindSummary> kinds;
        for (const auto& [topic, payload] : last_) {
            const auto record = palink::topics::readRecord(topic);
            if (record && record->dstNo == dstNo && !payload.empty()) {
                ++kinds[record->kind].count;
                kinds[record->kind].checksum +=
                    palink::recordChecksum(record->kind, record->key, payload);
            }
        }
        return isOnline(dstNo) && kinds == status(dstNo).kinds;
    }

    /// Waits until it has everything that the server holds.
    bool sync(int dstNo = 3) {
        return waitFor([&] { return isSynced(dstNo); });
    }

    /// How many messages have arrived on a topic.
    std::size_t countOf(const std::string& topic) const {
        const std::lock_guard guard(lock_);
        const auto found = counts_.find(topic);
        return found == counts_.end() ? 0 : found->second;
    }

    void publish(const palink::MqttMessage& message) {
        EXPECT_TRUE(client_.publish(message).has_value());
    }

    /// A request with a new correlation.
    palink::MqttMessage request(
        const std::string& topic, const std::string& payload = "",
        std::vector<std::pair<std::string, std::string>> properties = {}) const {
        palink::MqttMessage message{topic, payload};
        message.responseTopic = palink::topics::answers("pa-" + uuid_);
        message.correlation = newUuid();
        message.expirySeconds = 10;
        message.userProperties = std::move(properties);
        return message;
    }

    /// A request for an operation, in the present generation of the server.
    palink::MqttMessage operation(const pa::OperationType& type, const std::string& payload,
                                  int dstNo = 3) const {
        return request(
            palink::topics::operation(dstNo, type), payload,
            {{"client", uuid_}, {"generation", std::to_string(status(dstNo).generation)}});
    }

    /// The next answer to a request.
    std::optional<palink::Answer> answerTo(
        const palink::MqttMessage& message,
        std::chrono::milliseconds longest = std::chrono::seconds(10)) {
        std::optional<palink::Answer> first;
        const auto take = [&] {
            auto& answers = answers_[message.correlation];
            if (!answers.empty()) {
                first = answers.front();
                answers.erase(answers.begin());
            }
            return first.has_value();
        };
        waitFor(take, longest);
        return first;
    }

    /// Sends a request. "accepted", with the result, or the reason of the refusal.
    std::string ask(const palink::MqttMessage& message) {
        publish(message);
        const auto answer = answerTo(message);
        return !answer            ? "no answer"
               : answer->accepted ? "accepted" + answer->result
                                  : answer->reason;
    }

private:
    void onConnected() override {
        client_.subscribe({"pa/#"}, 1);
        const std::lock_guard guard(lock_);
        connected_ = true;
        changed_.notify_all();
    }

    void onDisconnected(const std::string& /*reason*/, bool /*isPermanent*/) override {
        const std::lock_guard guard(lock_);
        last_.clear();
        changed_.notify_all();
    }

    void onMessage(const palink::ReceivedMessage& message) override {
        const std::lock_guard guard(lock_);
        const std::string topic(message.topic());
        ++counts_[topic];
        last_[topic] = message.payload();
        if (topic == palink::topics::answers("pa-" + uuid_)) {
            answers_[message.correlation()].push_back(palink::decodeAnswer(message.payload()));
        }
        changed_.notify_all();
    }

    /// The payload of the last message on a topic in this connection.
    std::string last(const std::string& topic) const {
        const std::lock_guard guard(lock_);
        const auto found = last_.find(topic);
        return found == last_.end() ? "" : found->second;
    }

    static std::string newUuid() {
        std::string made;
        generateUUID(made);
        return made;
    }

    const std::string uuid_ = newUuid();
    palink::MqttClient client_;
    mutable std::recursive_mutex lock_;  // a condition reads what it guards
    std::condition_variable_any changed_;
    // Guarded by lock_.
    bool connected_ = false;
    std::map<std::string, std::string> last_;
    std::map<std::string, std::size_t> counts_;
    std::map<std::string, std::vector<palink::Answer>> answers_;
};
