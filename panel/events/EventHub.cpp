// SPDX-License-Identifier: Apache-2.0
#include "panel/events/EventHub.h"

#include <algorithm>
#include <utility>

#include "panel/Services.h"
#include "panel/api/records.h"

namespace papanel {

using namespace paclient;

namespace {

/// So often the thread looks for notes and for the end.
constexpr std::chrono::milliseconds idleTurn{50};
/// While the connection is about to be synced.
constexpr std::chrono::milliseconds syncTurn{5};

ChangeKinds changesForPages() {
    return ~kinds<AttachedZonesReport, Retrieval, palink::Refusal, palink::LevelReading,
                  pa::DroppedOperation, SentOperation>();
}

}  // namespace

EventHub::EventHub()
    : log_([this] { return snapshotOf(*services_); }), changes_(changesForPages()) {}

EventHub::~EventHub() {
    stop();
}

void EventHub::start(const Services& services) {
    services_ = &services;
    isComplete_ = wasSynced_ = services.connection.isSynced();
    pending_.restart();
    thread_ = std::make_unique<pa::PosixThread>("papanel events", [this] { run(); });
}

void EventHub::stop() {
    isStopping_ = true;
    log_.stop();
}

void EventHub::noteLock(int sourceId) {
    const std::lock_guard guard(lock_);
    notedLocks_.insert(sourceId);
}

void EventHub::noteTrigger(int id) {
    const std::lock_guard guard(lock_);
    notedTriggers_.insert(id);
}

void EventHub::run() {
    while (!isStopping_) {
        auto limit = awaitsSync_ ? syncTurn : idleTurn;
        if (!pending_.isEmpty()) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(batchDue_ - Clock::now());
            limit = std::clamp(left, std::chrono::milliseconds(0), limit);
        }
        if (const ChangePtr change = changes_.next(limit)) {
            take(*change);
        }
        takeNotes();
        if (services_->connection.isSynced() != wasSynced_) {
            publishStatus();
        }
        if (!pending_.isEmpty() && Clock::now() >= batchDue_) {
            log_.add("changes", pending_.take());
            batchDue_ = Clock::now() + pace;
        }
    }
}

void EventHub::take(const Change& change) {
    using State = palink::ConnectionChange::State;
    const auto* const connection = std::get_if<palink::ConnectionChange>(&change);
    if (connection != nullptr) {
        isComplete_ = connection->state == State::Synced;
        awaitsSync_ = isComplete_;  // the change comes first
    }
    if (std::holds_alternative<Lost>(change) || (isComplete_ && connection != nullptr)) {
        pending_.restart();
        log_.addReset();
    } else if (connection == nullptr && isComplete_) {
        pending_.add(change, *services_);
    }
    if (connection != nullptr) {
        publishStatus();
    }
}

void EventHub::takeNotes() {
    std::set<int> locks;
    std::set<int> triggers;
    {
        const std::lock_guard guard(lock_);
        locks.swap(notedLocks_);
        triggers.swap(notedTriggers_);
    }
    for (const int source : locks) {
        pending_.addLock(source, *services_);
    }
    for (const int trigger : triggers) {
        pending_.addTrigger(trigger);
    }
}

void EventHub::publishStatus() {
    wasSynced_ = services_->connection.isSynced();
    awaitsSync_ = awaitsSync_ && !wasSynced_;
    log_.add("status", statusOf(*services_));
}

}  // namespace papanel
