// SPDX-License-Identifier: Apache-2.0
/// What arrives from the network and from the simulated server, the connection, the status and the
/// role.

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "framework/clock.h"
#include "framework/log.h"
#include "framework/shared.h"
#include "link/mqtt/levelPayload.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/topics.h"
#include "paserver/BrokerServer.h"

namespace paserver {

namespace topics = palink::topics;
using palink::ServerRole;
using palink::ServerStatus;

// ---------------------------------------------------------------------------- the network's thread

void BrokerServer::onConnected() {
    const std::lock_guard guard(lock_);
    network_.connected = true;
    ++network_.connections;
    network_.connectedMS = pa::monotonicMS();
    network_.reason.clear();
    network_.others.clear();
    network_.own.reset();
    network_.statusId = 0;
    wake_.wake();
}

void BrokerServer::onDisconnected(const std::string& reason, bool isPermanent) {
    const std::string text = settings_.broker.url() + ": " + reason;
    bool isNew = false;
    {
        const std::lock_guard guard(lock_);
        network_.connected = false;
        isNew = std::exchange(network_.reason, reason) != reason;
    }
    if (isPermanent && !ready_) {
        fail(text);
    } else if (isNew) {
        handleError(2, "%s", text.c_str());
    }
    wake_.wake();
}

void BrokerServer::onPublished(int id, int reasonCode) {
    constexpr int firstError = 0x80;
    constexpr int notAuthorized = 0x87;
    publications_.acknowledged(id);
    const bool isRefused = reasonCode >= firstError;
    bool isFirstStatus = false;
    {
        const std::lock_guard guard(lock_);
        isFirstStatus = id == network_.statusId && !ready_;
        ready_ = ready_ || (isFirstStatus && !isRefused);
    }
    if (isRefused) {
        const std::string text = settings_.broker.url() +
                                 ": the broker refuses what the server publishes (reason code " +
                                 std::to_string(reasonCode) + ")";
        if (isFirstStatus && reasonCode == notAuthorized) {
            fail(text);
        } else {
            handleError(3, "%s", text.c_str());
        }
    }
}

void BrokerServer::onMessage(const palink::ReceivedMessage& message) {
    try {
        take(message);
    } catch (const std::exception& fault) {
        faults_.report(message.topic(), fault.what());
    }
}

void BrokerServer::take(const palink::ReceivedMessage& message) {
    if (const auto record = topics::readRecord(message.topic())) {
        publications_.restore({record->kind, record->key}, message.payload(),
                              message.userProperty("generation"), message.retained());
    } else if (const auto dstNo = topics::readStatus(message.topic())) {
        takeStatus(*dstNo, message);
    } else if (!requests_.add(readRequest(message, dstNo_))) {
        ++counters_.dropped;
        faults_.report(message.topic(), "the request is dropped: too many wait");
    }
    wake_.wake();
}

void BrokerServer::takeStatus(int dstNo, const palink::ReceivedMessage& message) try {
    const ServerStatus status =
        message.payload().empty() ? ServerStatus{} : palink::decodeStatus(message.payload());
    const std::lock_guard guard(lock_);
    if (dstNo == dstNo_) {
        network_.own = OwnStatus{status, message.retained()};
    } else if (network_.others.size() < Role::maxServers) {
        network_.others[dstNo] = status;
    }
} catch (const palink::MalformedMessage&) {
    if (dstNo == dstNo_) {
        publications_.requestStatus();  // in its place
    }
    throw;
}

// ------------------------------------------------------------ the simulated server's own threads

void BrokerServer::deliver(palink::ServerEvent event) {
    if (const auto* const record = std::get_if<palink::Record>(&event)) {
        const RecordKey key{record->kind, record->key};
        countAnnouncement(*record);
        std::string payload = palink::encodeRecord(record->fields);
        if (payload.size() <= palink::maxRecordBytes) {
            publications_.put(key, std::move(payload));
        } else {
            handleError(2, "the %s %d is withdrawn: its record is too long", nameOf(key.first),
                        key.second);
            publications_.withdraw(key);
        }
    } else if (const auto* const withdrawal = std::get_if<palink::Withdrawal>(&event)) {
        publications_.withdraw({withdrawal->kind, withdrawal->key});
    } else if (const auto* const reading = std::get_if<palink::LevelReading>(&event)) {
        palink::MqttMessage message;
        message.topic = topics::level(dstNo_, reading->element);
        message.payload = palink::encodeLevel(reading->level);
        message.qos = 0;
        publications_.add(std::move(message));
    } else if (const auto* const refusal = std::get_if<palink::Refusal>(&event)) {
        reportFailure(*refusal);
    }
}

/// Counts an announcement that is over: its last record has a completion code.
void BrokerServer::countAnnouncement(const palink::Record& record) {
    constexpr std::size_t codeField = 18;
    if (record.kind != pa::RecordKind::Announcement || record.fields.size() <= codeField) {
        return;
    }
    for (std::size_t code = 0; code < counters_.announcements.size(); ++code) {
        if (record.fields.at(codeField) == std::to_string(code)) {
            ++counters_.announcements[code];
        }
    }
}

// -------------------------------------------------------------------- connection, status, role

void BrokerServer::takeConnection() {
    std::uint64_t connection = 0;
    {
        const std::lock_guard guard(lock_);
        connection = network_.connected ? network_.connections : 0;
    }
    if (connection == joined_) {
        return;
    }
    publications_.disconnected();
    unsent_.reset();
    isPublished_ = false;
    joined_ = connection;
    if (connection == 0) {
        return;
    }
    publications_.connected();
    // Before a record is published: what arrives is of an earlier generation, and withdrawn.
    client_->subscribe(
        {topics::everyStatus, topics::recordsOf(dstNo_), topics::operationsFor(dstNo_),
         topics::roundTrips(dstNo_), topics::levelRequestsFor(dstNo_), topics::uploadsFor(dstNo_),
         topics::controlOf(dstNo_)},
        1, true);
    role_.begin(hasRole_ ? ServerRole::Standby : settings_.role, pa::monotonicMS());
    hasRole_ = true;
    if (pa::load(debugLevel) > 0) {
        debug(1, "connected to %s, generation %lld", settings_.broker.url().c_str(),
              static_cast<long long>(generation_.load()));
    }
}

void BrokerServer::takeStatuses() {
    std::map<int, ServerStatus> others;
    std::optional<OwnStatus> own;
    {
        const std::lock_guard guard(lock_);
        others.swap(network_.others);
        own.swap(network_.own);
    }
    for (const auto& [dstNo, status] : others) {
        role_.take(dstNo, status);
    }
    if (own && joined_ != 0) {
        takeOwnStatus(*own);
    }
    const ServerRole role = role_.at(pa::monotonicMS());
    active_ = role == ServerRole::Active;
    if (joined_ != 0 && role != std::exchange(reported_, role)) {
        publications_.requestStatus();
        if (pa::load(debugLevel) > 0) {
            debug(1, "the server is %s", role == ServerRole::Active ? "active" : "standby");
        }
    }
}

/// Another connection has published a status for this number: that of an earlier generation, or of
/// another server with this number. Of two such servers the one that has started later stays.
void BrokerServer::takeOwnStatus(const OwnStatus& own) {
    constexpr std::int64_t last = (std::int64_t{1} << 53U) - 1;
    if (own.status.generation == generation_ && own.status.online) {
        return;  // of a broker that sends back what this connection publishes
    }
    if (own.status.generation <= generation_) {
        publications_.requestStatus();
    } else if (own.status.generation == last) {
        fail("no generation is left: the retained status of the server must be deleted");
    } else if (own.retained || !own.status.online) {
        generation_ = own.status.generation;  // the host's clock was set back
        rejoin_ = Rejoin::NewGeneration;
    } else {
        replaced_ = true;
        fail("another server with the number " + std::to_string(dstNo_) + " has started");
    }
}

/// @param patience how long the broker may acknowledge nothing
/// @return whether nothing waits any more
bool BrokerServer::publishWaiting(std::size_t most, std::chrono::milliseconds wait,
                                  std::chrono::milliseconds patience) {
    const std::int64_t endMS = pa::monotonicMS() + wait.count();
    for (std::size_t count = 0; count < most && pa::monotonicMS() <= endMS; ++count) {
        if (!client_->waitForSpace(patience)) {
            return false;
        }
        if (!unsent_) {
            unsent_ = publications_.next();
        }
        if (!unsent_) {
            return true;
        }
        const auto id = publish(*unsent_);
        if (!id) {
            return false;  // the connection is lost, or the client has too much
        }
        unsent_.reset();
        publications_.published(*id);
    }
    wake_.wake();  // there may be more
    return false;
}

/// Publishes a message, unless the broker cannot take such a one: then it is dropped, and a record
/// withdrawn, so that the status does not name what cannot arrive.
/// @return nothing when it must be published again
std::optional<int> BrokerServer::publish(const palink::MqttMessage& message) try {
    const auto id = client_->publish(message);
    counters_.published += id ? 1 : 0;
    return id;
} catch (const std::invalid_argument& fault) {
    handleError(2, "%s", fault.what());
    if (const auto record = topics::readRecord(message.topic)) {
        publications_.withdraw({record->kind, record->key});
    }
    return 0;
}

/// @param isLast whether everything else that waits has been published
void BrokerServer::keepStatus(bool isLast) {
    if (isLast && !std::exchange(isPublished_, true)) {
        publications_.requestStatus();
    }
    const std::int64_t now = pa::monotonicMS();
    if (const auto due = publications_.statusDueMS(); due && *due <= now) {
        const palink::MqttMessage message = statusMessage(status(now));
        const std::lock_guard guard(lock_);  // until the id is noted
        const auto id = client_->publish(message);
        if (!id) {
            publications_.requestStatus();
        } else if (isPublished_) {
            network_.statusId = *id;
        }
    }
}

ServerStatus BrokerServer::status(std::int64_t nowMS) {
    ServerStatus status;
    status.online = true;
    status.generation = generation_;
    status.role = reported_;
    status.precedence = settings_.precedence;
    status.name = settings_.station.name;
    status.software = "simulated audio server";
    status.timeZone = settings_.station.timeZone;
    status.clockMS = simulation_->clockMS();
    status.hostClockMS = hostClockMS();
    status.speed = settings_.simulation.speed;
    status.control = true;
    status.kinds = publications_.takeStatus(nowMS);
    return status;
}

std::int64_t BrokerServer::hostClockMS() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

palink::MqttMessage BrokerServer::statusMessage(const ServerStatus& status) const {
    palink::MqttMessage message;
    message.topic = topics::status(dstNo_);
    message.payload = palink::encodeStatus(status);
    message.retained = true;
    return message;
}

}  // namespace paserver
