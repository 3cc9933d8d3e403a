// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/MqttConnection.h"

#include <algorithm>
#include <array>
#include <exception>
#include <poll.h>

#include "framework/clock.h"
#include "framework/log.h"
#include "link/mqtt/HostLookup.h"

namespace palink {

namespace {

constexpr std::int64_t attemptLimitMS = 10'000;
constexpr std::int64_t stableMS = 10'000;  // a connection that lasts has the next pause begin short
constexpr int usualStepMS = 1000;
constexpr int timedStepMS = 20;  // while the host's clock counts: it may be replaced, or jump
constexpr std::chrono::milliseconds farewellLimit{200};

}  // namespace

// ------------------------------------------------------------------------------------ the thread

void MqttClient::Connection::run() {
    while (!isStopping()) {
        acceptedAtMS_ = 0;
        const ConnectionEnd end = connectOnce();
        if (isStopping()) {
            return;
        }
        if (acceptedAtMS_ != 0 && pa::monotonicMS() - acceptedAtMS_ >= stableMS) {
            backoff_.reset();
        }
        listener_.onDisconnected(end.reason, end.isPermanent);
        pause();
    }
}

/// A session is the current one as long as it exists, also when its work ends with an exception.
class MqttClient::Connection::CurrentSession {
public:
    CurrentSession(Connection& connection, BrokerSession& session) : connection_(connection) {
        connection_.current_ = &session;
    }
    CurrentSession(const CurrentSession&) = delete;
    CurrentSession& operator=(const CurrentSession&) = delete;
    ~CurrentSession() { connection_.forgetSession(); }

private:
    Connection& connection_;
};

/// Connects, serves the connection until it ends, and returns why.
ConnectionEnd MqttClient::Connection::connectOnce() {
    ConnectionEnd end;
    try {
        for (const std::string& address : addresses(end)) {
            BrokerSession session(library_, options_, clientId_, will_ ? &*will_ : nullptr, *this);
            const CurrentSession current(*this, session);
            session.connect(address);
            if (serve(session)) {
                return {"dropped by this client", false};
            }
            end = session.end();
            if (session.isReached() || isStopping()) {
                break;
            }
        }
    } catch (const BrokerOptionsError& e) {
        return {e.what(), true};
    } catch (const std::exception& e) {
        return {std::string("cannot connect: ") + e.what(), false};
    }
    return end;
}

std::vector<std::string> MqttClient::Connection::addresses(ConnectionEnd& end) {
    const HostLookup lookup(options_.host, wake_);
    const std::int64_t endMS = pa::monotonicMS() + attemptLimitMS;
    while (!isStopping() && pa::monotonicMS() < endMS) {
        if (const auto result = lookup.result()) {
            end.reason = result->error;
            return result->addresses;
        }
        short ignored = 0;
        wait(nullptr, timedStepMS, ignored);
    }
    end.reason = "no answer to the look-up of the host " + options_.host;
    return {};
}

/// Serves the connection until it ends.
/// @return whether this client has ended it
bool MqttClient::Connection::serve(BrokerSession& session) {
    const std::int64_t endMS = pa::monotonicMS() + attemptLimitMS;
    short events = 0;
    while (session.proceed(events)) {
        listener_.onPause();
        if (!isWanted(session)) {
            return true;
        }
        if (!session.isAccepted() && pa::monotonicMS() >= endMS) {
            session.abandon("no answer within " + std::to_string(attemptLimitMS / 1000) + " s");
            return false;
        }
        wait(&session, session.isAccepted() ? usualStepMS : timedStepMS, events);
    }
    return false;
}

/// Whether the connection is to go on. Leaves the broker before a stop.
bool MqttClient::Connection::isWanted(BrokerSession& session) {
    {
        const std::lock_guard guard(lock_);
        if (!isStopping_) {
            return !isDropped_;
        }
        if (session_ != nullptr && !waiting_.empty() && Time::now() < stopBy_) {
            return true;
        }
        hasLeft_ = session_ != nullptr && waiting_.empty();
    }
    if (session.isAccepted()) {
        leave(session);
    }
    return false;
}

void MqttClient::Connection::leave(BrokerSession& session) {
    const Time::time_point endAt = Time::now() + farewellLimit;
    session.disconnect();
    short events = 0;
    while (Time::now() < endAt && session.proceed(events)) {
        wait(&session, timedStepMS, events);
    }
}

void MqttClient::Connection::forgetSession() {
    const std::lock_guard guard(lock_);
    session_ = nullptr;
    current_ = nullptr;
    isDropped_ = false;
    waiting_.clear();
    outstanding_ = 0;
    waitingBytes_ = 0;
    subscriptions_.clear();
    spaceFreed_.notify_all();
}

void MqttClient::Connection::pause() {
    const std::int64_t endMS = pa::monotonicMS() + backoff_.next().count();
    while (!isStopping() && pa::monotonicMS() < endMS) {
        short ignored = 0;
        wait(nullptr, timedStepMS, ignored);
    }
}

/// Waits for the socket, another thread, or the limit.
void MqttClient::Connection::wait(const BrokerSession* session, int limitMS, short& events) {
    constexpr nfds_t both = 2;
    std::array<pollfd, both> polled{{{wake_->descriptor(), POLLIN, 0}, {-1, 0, 0}}};
    if (session != nullptr) {
        polled[1] = {session->descriptor(), session->wantedEvents(), 0};
    }
    const int limit = isStopping() ? std::min(limitMS, timedStepMS) : limitMS;
    const int ready = poll(polled.data(), both, limit);
    events = ready > 0 ? polled[1].revents : static_cast<short>(0);
    if (ready > 0 && polled[0].revents != 0) {
        wake_->clear();
    }
}

// ------------------------------------------------------------------------- events of the session

void MqttClient::Connection::onAccepted() {
    acceptedAtMS_ = pa::monotonicMS();
    {
        const std::lock_guard guard(lock_);
        session_ = current_;
    }
    listener_.onConnected();
}

void MqttClient::Connection::onAcknowledged(int id, int reasonCode) {
    bool isReported = false;
    {
        const std::lock_guard guard(lock_);
        const auto found = waiting_.find(id);
        if (found == waiting_.end()) {
            return;
        }
        isReported = found->second.qos > 0;
        waitingBytes_ -= found->second.bytes;
        outstanding_ -= isReported ? 1 : 0;
        waiting_.erase(found);
        spaceFreed_.notify_all();
    }
    if (isReported) {
        listener_.onPublished(id, reasonCode);
    }
}

void MqttClient::Connection::onSubscribed(int id, const std::vector<int>& reasonCodes) {
    constexpr int firstError = 0x80;
    std::vector<std::string> topics;
    {
        const std::lock_guard guard(lock_);
        const auto found = subscriptions_.find(id);
        if (found == subscriptions_.end()) {
            return;
        }
        topics = std::move(found->second);
        subscriptions_.erase(found);
    }
    for (std::size_t i = 0; i < std::min(topics.size(), reasonCodes.size()); ++i) {
        if (reasonCodes[i] >= firstError) {
            handleError(2, "the broker refuses the subscription to %s (reason code %d)",
                        topics[i].c_str(), reasonCodes[i]);
        }
    }
}

}  // namespace palink
