// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "framework/fork.h"
#include "framework/posixThread.h"
#include "link/Backoff.h"
#include "link/mqtt/BrokerSession.h"
#include "link/mqtt/LibraryClient.h"
#include "link/mqtt/MqttClient.h"
#include "link/mqtt/WakeUp.h"

namespace palink {

/// The inside of an `MqttClient`: a thread that makes one `BrokerSession` after the other, and
/// polls it.
class MqttClient::Connection final : private SessionListener {
public:
    Connection(BrokerOptions options, std::string clientId, MqttListener& listener);

    void setWill(MqttMessage will);
    void start();
    bool stop(std::chrono::milliseconds limit);
    bool isOfThisProcess() const { return generation_ == pa::forkGeneration(); }
    void drop();
    std::optional<int> publish(const MqttMessage& message);
    bool waitForSpace(std::chrono::milliseconds limit);
    bool subscribe(const std::vector<std::string>& topics, int qos, bool noLocal);
    bool unsubscribe(const std::vector<std::string>& topics);
    bool isSubscribing();
    bool isConnected();
    const BrokerOptions& options() const { return options_; }

private:
    using Time = std::chrono::steady_clock;

    struct Waiting {
        int qos;
        std::size_t bytes;
    };

    void onAccepted() override;
    void onMessage(const ReceivedMessage& message) override { listener_.onMessage(message); }
    void onAcknowledged(int id, int reasonCode) override;
    void onSubscribed(int id, const std::vector<int>& reasonCodes) override;

    class CurrentSession;

    void run();
    ConnectionEnd connectOnce();
    std::vector<std::string> addresses(ConnectionEnd& end);
    bool serve(BrokerSession& session);
    bool isWanted(BrokerSession& session);
    void leave(BrokerSession& session);
    void forgetSession();
    void pause();
    bool isStopping();
    void wait(const BrokerSession* session, int limitMS, short& events);

    const BrokerOptions options_;
    const std::string clientId_;
    MqttListener& listener_;
    LibraryClient library_;
    const std::shared_ptr<WakeUp> wake_ = std::make_shared<WakeUp>();
    // Of start and stop only.
    std::optional<MqttMessage> will_;
    std::unique_ptr<pa::PosixThread> thread_;
    unsigned generation_ = pa::forkGeneration();  // of the process that has started it
    // Of the thread only.
    Backoff backoff_;
    BrokerSession* current_ = nullptr;
    std::int64_t acceptedAtMS_ = 0;
    bool hasLeft_ = false;  // with everything acknowledged

    std::mutex lock_;
    std::condition_variable spaceFreed_;
    // Guarded by lock_.
    BrokerSession* session_ = nullptr;  // while the broker has accepted it
    bool isStopping_ = false;
    bool isDropped_ = false;
    Time::time_point stopBy_;
    std::unordered_map<int, Waiting> waiting_;  // publications, by id
    std::size_t outstanding_ = 0;               // of them, those of QoS 1
    std::size_t waitingBytes_ = 0;
    std::map<int, std::vector<std::string>> subscriptions_;  // without an answer, by id
};

}  // namespace palink
