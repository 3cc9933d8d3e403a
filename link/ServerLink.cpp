// SPDX-License-Identifier: Apache-2.0
#include "link/ServerLink.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <stdexcept>
#include <utility>
#include <variant>

#include "framework/clock.h"
#include "framework/fork.h"
#include "framework/levelMeter.h"
#include "framework/log.h"
#include "link/waitAtMost.h"
#include "sdk/globals.h"

namespace palink {

namespace {

/// The link of the process that is started. That of a parent is none in the child of a fork.
std::atomic<const ServerLink*> started{nullptr};
[[maybe_unused]] const auto& acrossFork =
    *new pa::ForkParticipant(pa::ForkRank::First, {nullptr, nullptr, [] { started = nullptr; }});

}  // namespace

ServerLink::ServerLink(AudioServer& audioServer, Transport& transport)
    : audioServer_(audioServer), transport_(transport), router_(audioServer.getPAController()) {}

ServerLink::~ServerLink() {
    stop();
    gQXReceiver.forget(*this);
    if (generation_ != pa::forkGeneration()) {
        pa::forgetWaiters(changed_);
    }
}

void ServerLink::start() {
    const ServerLink* other = nullptr;
    if (!started.compare_exchange_strong(other, this)) {
        if (other == this) {
            return;
        }
        throw std::logic_error(
            "another ServerLink of this process is started: it has the send queue, the uploads and "
            "the level meters until it is stopped");
    }
    try {
        gQXReceiver.open(*this);
    } catch (...) {
        started = nullptr;
        throw;
    }
    try {
        pa::store(gAudioServerInstance, &audioServer_);
        audioServer_.setUploader(
            [this](const std::string& localPath, const std::string& serverPath) {
                return upload(localPath, serverPath);
            });
        router_.begin();
        router_.setMergeHandler(
            [this](const HandledRecord& record) { recordHandler_.call(record); });
        transport_.start(*this);
    } catch (...) {
        stop(std::chrono::milliseconds(0));
        throw;
    }
}

void ServerLink::stop(std::chrono::milliseconds limit) {
    if (started != this) {
        return;
    }
    end(limit);
    change(ConnectionChange::State::Stopped);
    started = nullptr;  // last: no change of another link comes before these
}

void ServerLink::end(std::chrono::milliseconds limit) {
    gQXReceiver.close(limit);
    router_.releaseWaiters();  // the transport's thread may wait for a slow observer
    transport_.stop();
    audioServer_.setUploader({});  // not before: it waits for uploads, which the transport ends
    pa::setLevelMeterSwitch({});   // not before: a connection that is just being made sets it
    gQXReceiver.abandon();  // not before: the transport may block an operation that is being sent
    router_.end(limit);
    router_.setMergeHandler({});  // a merge that the end has left running does not call it
    if (isConnected()) {
        lose("the link was stopped");
    }
}

bool ServerLink::waitUntilReady(std::chrono::milliseconds limit) {
    std::unique_lock guard(lock_);
    return waitAtMost(changed_, guard, limit, [this] {
        const bool notified =
            notifying_ == std::thread::id() || notifying_ == std::this_thread::get_id();
        return ready_ && notified;
    });
}

void ServerLink::waitUntilHandled() {
    router_.waitUntilIdle();
}

std::optional<std::uint64_t> ServerLink::beginRoundTrip() {
    std::uint64_t number = 0;
    {
        const std::lock_guard guard(lock_);
        number = ++roundTrips_;
    }
    return transport_.requestRoundTrip(number) ? std::optional(number) : std::nullopt;
}

bool ServerLink::waitForRoundTrip(std::uint64_t number, std::chrono::milliseconds limit) {
    std::unique_lock guard(lock_);
    const auto isBack = [this, number] { return completedRoundTrip_ >= number; };
    waitAtMost(changed_, guard, limit, [&] { return isBack() || !connected_; });
    return isBack();
}

bool ServerLink::isConnected() const {
    const std::lock_guard guard(lock_);
    return connected_;
}

void ServerLink::deliver(ServerEvent event) {
    if (!std::holds_alternative<Record>(event)) {
        measureHandled();  // before it waits for the pauses of other records
    }
    try {
        std::visit([this](auto& what) { on(std::move(what)); }, event);
    } catch (const std::exception& e) {
        // Short of memory or threads: only this event is lost.
        handleError(1, "an event of the server is lost: %s", e.what());
    }
}

void ServerLink::beginBatch(std::int64_t arrivedUS) {
    arrivedUS_ = arrivedUS;
}

void ServerLink::endBatch() {
    measureHandled();
    arrivedUS_ = 0;
}

void ServerLink::measureHandled() {
    if (const std::uint64_t handled = std::exchange(handled_, 0); handled > 0) {
        directDurations_.add(std::chrono::microseconds(pa::monotonicUS() - arrivedUS_), handled);
    }
}

RecordDurations ServerLink::recordDurations() const {
    return {directDurations_.read(), router_.pausedDurations()};
}

void ServerLink::on(const Connected& connected) {
    if (isConnected()) {
        lose("the server has connected again");
    }
    router_.reset();  // under the globals of the connection that filled the caches
    pa::store(gLocalDstNo, connected.localDstNo);
    pa::store(gActiveAudioServerDstNo, connected.activeDstNo);
    pa::store(gIndirectCXSConnection, connected.indirect);
    audioServer_.setServerInfo(connected.serverInfo);
    gQXReceiver.connect(*this);
    pa::setLevelMeterSwitch(
        [this](bool subscribe, int element) { transport_.meterLevel(subscribe, element); });
    change(ConnectionChange::State::Connected);
}

void ServerLink::on(const Disconnected& disconnected) {
    handleError(2, "the connection to the server is lost: %s", disconnected.reason.c_str());
    if (isConnected()) {
        lose(disconnected.reason);
    }
}

void ServerLink::lose(const std::string& reason) {
    // Does not wait for an operation that is being sent: the server may take it only after it has
    // delivered what follows this event.
    gQXReceiver.pause();
    change(ConnectionChange::State::Disconnected, reason);
}

void ServerLink::on(Record record) {
    if (router_.handle(std::move(record), arrivedUS_) && arrivedUS_ != 0) {
        ++handled_;
    }
}

void ServerLink::on(const Withdrawal& withdrawal) {
    router_.handle(withdrawal);
}

void ServerLink::on(const Refusal& refusal) {
    if (!refusalHandler_.call(refusal)) {
        handleError(2, "the server refuses operation %s of request >%s<: %s",
                    textOf(refusal.operation).c_str(), refusal.requestId.c_str(),
                    refusal.reason.c_str());
    }
}

void ServerLink::on(const LevelReading& reading) {
    levelHandler_.call(reading);
}

void ServerLink::on(const InitialSetComplete& /*complete*/) {
    router_.waitUntilIdle();
    {
        const std::lock_guard guard(lock_);
        if (!connected_ || ready_) {
            return;
        }
    }
    change(ConnectionChange::State::Synced);
}

void ServerLink::on(const RoundTripComplete& complete) {
    router_.waitUntilIdle();
    const std::lock_guard guard(lock_);
    completedRoundTrip_ = std::max(completedRoundTrip_, complete.number);
    changed_.notify_all();
}

/// Enters the state, then calls the handler.
void ServerLink::change(ConnectionChange::State state, const std::string& reason) {
    using State = ConnectionChange::State;
    ConnectionChange change{state, 0, reason};
    {
        const std::lock_guard guard(lock_);
        connected_ = state == State::Connected || state == State::Synced;
        ready_ = state == State::Synced;
        connections_ += state == State::Connected ? 1 : 0;
        change.number = connections_;
        notifying_ = std::this_thread::get_id();
    }
    connectionHandler_.call(change);
    const std::lock_guard guard(lock_);
    notifying_ = {};
    changed_.notify_all();
}

bool ServerLink::sendOperation(const pa::Operation& operation) {
    const bool sent = transport_.send(operation);
    if (sent) {
        sentHandler_.call(operation);
    }
    return sent;
}

void ServerLink::operationDropped(const pa::DroppedOperation& dropped) {
    dropHandler_.call(dropped);
}

int ServerLink::upload(const std::string& localPath, const std::string& serverPath) {
    const UploadResult result = transport_.upload(localPath, serverPath);
    if (!result.stored) {
        handleError(2, "upload of %s: %s", localPath.c_str(), result.reason.c_str());
    }
    return result.stored ? 1 : 0;
}

}  // namespace palink
