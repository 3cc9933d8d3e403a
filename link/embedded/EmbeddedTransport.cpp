// SPDX-License-Identifier: Apache-2.0
#include "link/embedded/EmbeddedTransport.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "framework/clock.h"
#include "framework/fork.h"
#include "framework/log.h"

namespace palink {

EmbeddedTransport::EmbeddedTransport(EmbeddedServer& server, std::size_t maxBytes)
    : server_(server),
      queue_("embedded-link", maxBytes, [this](const ServerEvent& event) { return admit(event); }) {
}

EmbeddedTransport::~EmbeddedTransport() {
    stop();
}

void EmbeddedTransport::start(ServerEventSink& sink) {
    generation_ = pa::forkGeneration();
    {
        const std::lock_guard guard(lock_);
        running_ = true;
        connected_ = false;
        backoff_.reset();
    }
    queue_.start(sink);
    calls_ = std::make_unique<pa::PosixThread>("embedded-calls", [this] { runCalls(); });
    server_.connectClient(*this);
}

void EmbeddedTransport::stop() {
    if (generation_ != pa::forkGeneration()) {
        // In the child of a fork: it has none of the threads, and a lock may never be given back.
        pa::forgetWaiters(callRequested_);
        queue_.stop();
        calls_.reset();
        return;
    }
    {
        const std::lock_guard guard(lock_);
        if (!running_) {
            return;
        }
        running_ = false;
        meterRequests_.clear();
        roundTrip_.reset();
        connectAtMS_.reset();
    }
    callRequested_.notify_all();
    // Before the server is called: it may wait for space with the lock that disconnectClient takes.
    queue_.close();
    server_.disconnectClient();
    queue_.stop();
    calls_.reset();
}

bool EmbeddedTransport::send(const pa::Operation& operation) {
    {
        const std::lock_guard guard(lock_);
        if (!running_ || !connected_) {
            return false;
        }
    }
    server_.handleOperation(operation);
    return true;
}

void EmbeddedTransport::meterLevel(bool subscribe, int element) {
    const std::lock_guard guard(lock_);
    if (running_ && connected_) {
        meterRequests_[element] = subscribe;
        callRequested_.notify_one();
    }
}

bool EmbeddedTransport::requestRoundTrip(std::uint64_t number) {
    const std::lock_guard guard(lock_);
    if (!running_ || !connected_) {
        return false;
    }
    roundTrip_ = std::max(roundTrip_.value_or(0), number);
    callRequested_.notify_one();
    return true;
}

UploadResult EmbeddedTransport::upload(const std::string& localPath,
                                       const std::string& serverPath) {
    const DeliveryQueue::Upload underWay(queue_);
    return server_.storeFile(localPath, serverPath);
}

void EmbeddedTransport::waitUntilDelivered() {
    queue_.waitUntilDelivered();
}

void EmbeddedTransport::deliver(ServerEvent event) {
    queue_.add(std::move(event));
}

// -------------------------------------------------------------------------- connection and calls

/// Notes what an event that is about to be queued means for the connection.
/// @return whether it is queued
bool EmbeddedTransport::admit(const ServerEvent& event) {
    if (std::holds_alternative<Record>(event)) {
        return running_;
    }
    const std::lock_guard guard(lock_);
    if (!running_ || (std::holds_alternative<RoundTripComplete>(event) && roundTripLost_)) {
        return false;
    }
    if (std::holds_alternative<Connected>(event)) {
        connected_ = true;
        connectAtMS_.reset();
    } else if (std::holds_alternative<InitialSetComplete>(event)) {
        backoff_.reset();
    } else if (std::holds_alternative<Disconnected>(event)) {
        connected_ = false;
        meterRequests_.clear();
        roundTrip_.reset();
        roundTripLost_ = true;
        connectLater();
    }
    return true;
}

/// With lock_ held.
void EmbeddedTransport::connectLater() {
    if (!connectAtMS_) {
        connectAtMS_ = pa::monotonicMS() + backoff_.next().count();
        callRequested_.notify_one();
    }
}

void EmbeddedTransport::connect() {
    try {
        server_.connectClient(*this);
    } catch (const std::exception& e) {
        handleError(2, "the server takes no connection: %s", e.what());
        const std::lock_guard guard(lock_);
        if (running_) {
            connectLater();
        }
    }
}

/// Makes the calls that may wait for the server.
void EmbeddedTransport::runCalls() {
    std::unique_lock guard(lock_);
    while (running_) {
        if (!meterRequests_.empty()) {
            switchMeter(guard);
        } else if (roundTrip_) {
            makeRoundTrip(guard);
        } else if (connectAtMS_) {
            connectWhenDue(guard);
        } else {
            callRequested_.wait(guard);
        }
    }
}

void EmbeddedTransport::switchMeter(std::unique_lock<std::mutex>& guard) {
    const auto [element, subscribe] = *meterRequests_.begin();
    meterRequests_.erase(meterRequests_.begin());
    guard.unlock();
    try {
        server_.meterLevel(subscribe, element);
    } catch (const std::exception& e) {
        handleError(2, "level meter %d of the server: %s", element, e.what());
    }
    guard.lock();
}

void EmbeddedTransport::makeRoundTrip(std::unique_lock<std::mutex>& guard) {
    const std::uint64_t number = *roundTrip_;
    roundTrip_.reset();
    roundTripLost_ = false;
    guard.unlock();
    try {
        server_.finishReports();
        deliver(RoundTripComplete{number});
    } catch (const std::exception& e) {
        handleError(2, "round trip to the server: %s", e.what());
    }
    guard.lock();
}

void EmbeddedTransport::connectWhenDue(std::unique_lock<std::mutex>& guard) {
    constexpr std::int64_t longestWaitMS = 20;  // the host's clock may be replaced, or jump
    const std::int64_t left = *connectAtMS_ - pa::monotonicMS();
    if (left > 0) {
        callRequested_.wait_for(guard, std::chrono::milliseconds(std::min(left, longestWaitMS)));
        return;
    }
    connectAtMS_.reset();
    guard.unlock();
    connect();
    guard.lock();
    if (!running_) {
        guard.unlock();
        server_.disconnectClient();  // the stop has called it, maybe before the connection was made
        guard.lock();
    }
}

}  // namespace palink
