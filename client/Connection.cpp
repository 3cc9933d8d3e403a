// SPDX-License-Identifier: Apache-2.0
#include "client/Connection.h"

#include "client/StationClock.h"
#include "framework/clock.h"
#include "link/waitAtMost.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace paclient {

AudioServer& audioServer() {
    static AudioServer& instance = []() -> AudioServer& {
        if (gDeviceIPAddress.empty()) {
            gDeviceIPAddress = "127.0.0.1";
        }
        return *new AudioServer(gPaController);
    }();
    return instance;
}

Connection::Connection(Endpoint& endpoint)
    : endpoint_(endpoint), link_(audioServer(), endpoint.transport()) {
    ChangeStream& stream = ChangeStream::instance();
    link_.setRefusalHandler([&stream](const palink::Refusal& refusal) { stream.publish(refusal); });
    link_.setLevelHandler(
        [&stream](const palink::LevelReading& reading) { stream.publish(reading); });
    link_.setDropHandler(
        [&stream](const pa::DroppedOperation& dropped) { stream.publish(dropped); });
    link_.setSentHandler(
        [&stream](const pa::Operation& operation) { stream.publish(SentOperation{operation}); });
    link_.setRecordHandler([this](const palink::HandledRecord& record) { handled(record); });
    link_.setConnectionHandler([this](const palink::ConnectionChange& change) { changed(change); });
}

Connection::~Connection() {
    link_.stop();
}

void Connection::open(const Wait& wait) {
    {
        const std::lock_guard guard(lock_);
        awaySinceMS_ = pa::monotonicMS();
    }
    link_.start();
    requireConnected(wait);
}

bool Connection::isSynced() const {
    return number() != 0;
}

std::uint64_t Connection::number() const {
    const std::lock_guard guard(lock_);
    return number_;
}

std::chrono::milliseconds Connection::awayFor() const {
    const std::lock_guard guard(lock_);
    return std::chrono::milliseconds(number_ != 0 ? 0 : pa::monotonicMS() - awaySinceMS_);
}

std::string Connection::lossReason() const {
    const std::lock_guard guard(lock_);
    return reason_;
}

void Connection::requireConnected(const Wait& wait) {
    WaitCourse course(wait);
    while (!isSynced()) {
        const auto report = endpoint_.report();
        if (report && report->isPermanent) {
            throw NotConnected(report->problem);
        }
        const auto slice = course.next();
        if (!slice && report && !report->problem.empty()) {
            throw NotConnected(report->problem);
        }
        if (!slice) {
            const std::lock_guard guard(lock_);
            throw NotConnected(reason_.empty()
                                   ? "the server does not answer in time"
                                   : "the connection to the server is lost: " + reason_);
        }
        std::unique_lock guard(lock_);
        palink::waitAtMost(changed_, guard, *slice, [this] { return number_ != 0; });
    }
}

void Connection::waitUntilDelivered(const Wait& wait) {
    const std::uint64_t connection = number();  // 0 while it is being synced
    const auto trip = link_.beginRoundTrip();
    WaitCourse course(wait);
    std::chrono::milliseconds slice{0};
    while (!trip || !link_.waitForRoundTrip(*trip, slice)) {
        const bool isLost = connection == 0 ? !link_.isConnected() : number() != connection;
        if (!trip || isLost) {
            throw NotConnected("the connection to the server is lost");
        }
        const auto next = course.next();
        if (!next) {
            throw NotConnected("the server does not answer in time");
        }
        slice = *next;
    }
}

KeyValueMap Connection::serverInfo() const {
    return audioServer().getServerInfo();
}

std::set<int> Connection::heldSources() {
    const std::string own = audioServer().getUUID();
    std::set<int> held;
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        if (lock.lockedUUID == own) {
            held.insert(lock.sourceId);
        }
    }
    return held;
}

/// On a thread of the link. Subscribers know of a connection before a function that waits for it
/// returns, and of a loss after the connection has become none.
void Connection::changed(const palink::ConnectionChange& change) {
    using State = palink::ConnectionChange::State;
    ChangeStream& stream = ChangeStream::instance();
    if (change.state != State::Synced) {
        setNumber(0, change.reason);
    }
    if (change.state == State::Connected) {
        setStationClock(StationClock(serverInfo()));
    }
    stream.publish(change);
    if (change.state == State::Synced) {
        gPaController.renewSourceLocksNow();  // while the connection was away they were not
        stream.compareLocks();
        setNumber(change.number, "");
    } else if (change.state == State::Stopped) {
        stream.forgetLocks();
    }
}

void Connection::setNumber(std::uint64_t number, const std::string& reason) {
    {
        const std::lock_guard guard(lock_);
        if (number == 0 && number_ != 0) {
            awaySinceMS_ = pa::monotonicMS();
            reason_ = reason;
        }
        number_ = number;
    }
    changed_.notify_all();
}

/// On a thread of the link. Observers are notified neither of locks nor of attached zones.
void Connection::handled(const palink::HandledRecord& record) {
    ChangeStream& stream = ChangeStream::instance();
    if (record.kind == pa::RecordKind::AttachedZones) {
        stream.publish(AttachedZonesReport{record.key});
    } else if (record.kind == pa::RecordKind::Source && isSynced()) {
        stream.compareLocks();
    }
}

}  // namespace paclient
