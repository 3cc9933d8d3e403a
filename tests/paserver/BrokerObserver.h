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
    static constexpr std::chrono::seconds limit{10};
    using Properties = std::vector<std::pair<std::string, std::string>>;

    explicit BrokerObserver(const palink::BrokerOptions& options)
        : client_(options, "pa-" + uuid_, *this) {
        client_.start();
        EXPECT_TRUE(waitFor([this] { return connected_; }));
    }
    ~BrokerObserver() override { client_.stop(); }

    const std::string& uuid() const { return uuid_; }
    palink::MqttClient& client() { return client_; }

    /// Waits until a condition on what has arrived holds.
    template <class Condition>
    bool waitFor(Condition condition, std::chrono::milliseconds longest = limit) {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, longest, condition);
    }

    /// @name Conditions, and what has arrived: with `waitFor`, or `now`
    /// @{
    palink::ServerStatus statusOf(int dstNo) const {
        const auto found = statuses_.find(dstNo);
        return found == statuses_.end() ? palink::ServerStatus{} : found->second;
    }
    bool isOnline(int dstNo) const { return statusOf(dstNo).online; }
    bool isActive(int dstNo) const {
        return isOnline(dstNo) && statusOf(dstNo).role == palink::ServerRole::Active;
    }
    /// Whether the records that have arrived are those that the status names.
    bool isSynced(int dstNo) const {
        std::map<pa::RecordKind, palink::KindSummary> kinds;
        for (const auto& [topic, payload] : records_) {
            const auto record = palink::topics::readRecord(topic);
            if (record && record->dstNo == dstNo) {
                ++kinds[record->kind].count;
                kinds[record->kind].checksum +=
                    palink::recordChecksum(record->kind, record->key, payload);
            }
        }
        return isOnline(dstNo) && kinds == statusOf(dstNo).kinds;
    }
    /// The payload of a record; empty for none.
    std::string record(int dstNo, pa::RecordKind kind, int key) const {
        const auto found = records_.find(palink::topics::record(dstNo, kind, key));
        return found == records_.end() ? "" : found->second;
    }
    std::size_t countOf(const std::string& topic) const {
        const auto found = counts_.find(topic);
        return found == counts_.end() ? 0 : found->second;
    }
    /// Every payload that has come on a topic, one after the other.
    std::string seenOn(const std::string& topic) const {
        const auto found = seen_.find(topic);
        return found == seen_.end() ? "" : found->second;
    }
    /// @}

    template <class Read>
    auto now(Read read) {
        const std::lock_guard guard(lock_);
        return read();
    }

    palink::ServerStatus status(int dstNo) {
        return now([&] { return statusOf(dstNo); });
    }

    /// Waits until it has everything that the server holds.
    bool sync(int dstNo = 3) {
        return waitFor([&] { return isSynced(dstNo); });
    }

    void publish(const palink::MqttMessage& message) {
        EXPECT_TRUE(client_.publish(message).has_value());
    }

    /// A request with a new correlation.
    palink::MqttMessage request(const std::string& topic, const std::string& payload = "",
                                Properties properties = {}) {
        palink::MqttMessage message;
        message.topic = topic;
        message.payload = payload;
        message.responseTopic = palink::topics::answers("pa-" + uuid_);
        generateUUID(message.correlation);
        constexpr std::uint32_t seconds = 10;
        message.expirySeconds = seconds;
        message.userProperties = std::move(properties);
        return message;
    }

    /// A request for an operation, in the present generation of the server.
    palink::MqttMessage operation(const pa::OperationType& type, const std::string& payload,
                                  int dstNo = 3) {
        return request(
            palink::topics::operation(dstNo, type), payload,
            {{"client", uuid_}, {"generation", std::to_string(status(dstNo).generation)}});
    }

    /// The next answer to a request.
    std::optional<palink::Answer> answerTo(const palink::MqttMessage& message,
                                           std::chrono::milliseconds longest = limit) {
        std::unique_lock guard(lock_);
        auto& answers = answers_[message.correlation];
        if (!changed_.wait_for(guard, longest, [&] { return !answers.empty(); })) {
            return std::nullopt;
        }
        palink::Answer first = answers.front();
        answers.erase(answers.begin());
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
        connected_ = false;
        statuses_.clear();
        records_.clear();
        changed_.notify_all();
    }

    void onMessage(const palink::ReceivedMessage& message) override {
        const std::lock_guard guard(lock_);
        const std::string topic(message.topic());
        const std::string payload(message.payload());
        ++counts_[topic];
        seen_[topic] += payload;
        if (const auto dstNo = palink::topics::readStatus(topic)) {
            statuses_[*dstNo] =
                payload.empty() ? palink::ServerStatus{} : palink::decodeStatus(payload);
        } else if (palink::topics::readRecord(topic)) {
            payload.empty() ? void(records_.erase(topic)) : void(records_[topic] = payload);
        } else if (topic == palink::topics::answers("pa-" + uuid_)) {
            answers_[message.correlation()].push_back(palink::decodeAnswer(payload));
        }
        changed_.notify_all();
    }

    const std::string uuid_ = [] {
        std::string made;
        generateUUID(made);
        return made;
    }();
    palink::MqttClient client_;
    std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    bool connected_ = false;
    std::map<int, palink::ServerStatus> statuses_;
    std::map<std::string, std::string> records_;
    std::map<std::string, std::vector<palink::Answer>> answers_;
    std::map<std::string, std::size_t> counts_;
    std::map<std::string, std::string> seen_;
};
