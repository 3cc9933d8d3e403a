// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/MqttClient.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "link/mqtt/MqttConnection.h"
#include "link/waitAtMost.h"

namespace palink {

MqttClient::MqttClient(BrokerOptions options, std::string clientId, MqttListener& listener)
    : connection_(std::make_unique<Connection>(std::move(options), std::move(clientId), listener)) {
}

MqttClient::~MqttClient() {
    if (!connection_->isOfThisProcess()) {
        // In the child of a fork the thread is missing, and the socket is the parent's.
        static_cast<void>(connection_.release());
        return;
    }
    stop();
}

void MqttClient::setWill(MqttMessage will) {
    connection_->setWill(std::move(will));
}

void MqttClient::start() {
    connection_->start();
}

bool MqttClient::stop(std::chrono::milliseconds limit) {
    return connection_->stop(limit);
}

void MqttClient::dropConnection() {
    connection_->drop();
}

std::optional<int> MqttClient::publish(const MqttMessage& message) {
    return connection_->publish(message);
}

bool MqttClient::waitForSpace(std::chrono::milliseconds limit) {
    return connection_->waitForSpace(limit);
}

bool MqttClient::subscribe(const std::vector<std::string>& topics, int qos, bool noLocal) {
    return connection_->subscribe(topics, qos, noLocal);
}

bool MqttClient::unsubscribe(const std::vector<std::string>& topics) {
    return connection_->unsubscribe(topics);
}

bool MqttClient::isSubscribing() const {
    return connection_->isSubscribing();
}

bool MqttClient::isConnected() const {
    return connection_->isConnected();
}

const BrokerOptions& MqttClient::options() const {
    return connection_->options();
}

// -------------------------------------------------------------------- the connection's side of it

MqttClient::Connection::Connection(BrokerOptions options, std::string clientId,
                                   MqttListener& listener)
    : options_(std::move(options)), clientId_(std::move(clientId)), listener_(listener) {
    const BrokerSession check(library_, options_, clientId_, nullptr, *this);
}

void MqttClient::Connection::setWill(MqttMessage will) {
    will_ = std::move(will);
    const BrokerSession check(library_, options_, clientId_, &*will_, *this);
}

void MqttClient::Connection::start() {
    generation_ = pa::forkGeneration();
    {
        const std::lock_guard guard(lock_);
        isStopping_ = false;
        isDropped_ = false;
    }
    hasLeft_ = false;
    backoff_.reset();
    thread_ = std::make_unique<pa::PosixThread>("mqtt", [this] { run(); });
}

bool MqttClient::Connection::stop(std::chrono::milliseconds limit) {
    if (!isOfThisProcess()) {
        return false;
    }
    {
        const std::lock_guard guard(lock_);
        isStopping_ = true;
        stopBy_ = Time::now() + std::min<std::chrono::milliseconds>(limit, std::chrono::hours(24));
    }
    wake_->signal();
    thread_.reset();
    return hasLeft_;
}

void MqttClient::Connection::drop() {
    {
        const std::lock_guard guard(lock_);
        isDropped_ = session_ != nullptr;
    }
    wake_->signal();
}

std::optional<int> MqttClient::Connection::publish(const MqttMessage& message) {
    std::optional<int> id;
    {
        const std::lock_guard guard(lock_);
        if (session_ == nullptr || waiting_.size() >= maxWaiting ||
            waitingBytes_ >= maxWaitingBytes) {
            return std::nullopt;
        }
        id = session_->publish(message);
        if (!id) {
            return std::nullopt;
        }
        const std::size_t bytes = message.topic.size() + message.payload.size();
        waiting_[*id] = {message.qos, bytes};
        waitingBytes_ += bytes;
        outstanding_ += message.qos > 0 ? 1 : 0;
    }
    wake_->signal();
    return message.qos > 0 ? id : 0;
}

bool MqttClient::Connection::waitForSpace(std::chrono::milliseconds limit) {
    std::unique_lock guard(lock_);
    const auto isOver = [this] { return session_ == nullptr || outstanding_ < maxOutstanding; };
    return waitAtMost(spaceFreed_, guard, limit, isOver) && session_ != nullptr;
}

bool MqttClient::Connection::subscribe(const std::vector<std::string>& topics, int qos,
                                       bool noLocal) {
    {
        const std::lock_guard guard(lock_);
        if (session_ == nullptr) {
            return false;
        }
        subscriptions_[session_->subscribe(topics, qos, noLocal)] = topics;
    }
    wake_->signal();
    return true;
}

bool MqttClient::Connection::unsubscribe(const std::vector<std::string>& topics) {
    {
        const std::lock_guard guard(lock_);
        if (session_ == nullptr) {
            return false;
        }
        session_->unsubscribe(topics);
    }
    wake_->signal();
    return true;
}

bool MqttClient::Connection::isSubscribing() {
    const std::lock_guard guard(lock_);
    return !subscriptions_.empty();
}

bool MqttClient::Connection::isConnected() {
    const std::lock_guard guard(lock_);
    return session_ != nullptr;
}

bool MqttClient::Connection::isStopping() {
    const std::lock_guard guard(lock_);
    return isStopping_;
}

}  // namespace palink
