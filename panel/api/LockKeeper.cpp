// SPDX-License-Identifier: Apache-2.0
#include "panel/api/LockKeeper.h"

#include <iterator>
#include <utility>

#include "client/confirmedOperations.h"
#include "framework/clock.h"
#include "framework/log.h"
#include "panel/audit/AuditTrail.h"
#include "panel/http/ApiError.h"

namespace papanel {

using paclient::Confirmation;
using paclient::LockChange;
using paclient::Wait;

namespace {

/// Whether the server has given the lock to this process.
bool isHeldHere(int sourceId) {
    return paclient::lockHolder(sourceId) == paclient::ownUUID();
}

ApiError held(int sourceId, const std::string& holder) {
    return {409,
            "held",
            "source " + std::to_string(sourceId) + " is taken by " + holder,
            {{"holder", holder}}};
}

/// A refusal because of another client is an error of its own.
Confirmation unlessHeldElsewhere(int sourceId, Confirmation confirmation) {
    const std::string holder = paclient::lockHolder(sourceId);
    const bool isElsewhere = !holder.empty() && holder != paclient::ownUUID();
    if (confirmation.state == Confirmation::State::Refused && isElsewhere) {
        throw held(sourceId, "another client (" + holder + ')');
    }
    return confirmation;
}

}  // namespace

LockKeeper::LockKeeper(AuditTrail& audit)
    : audit_(audit),
      listener_(paclient::kinds<LockChange>(),
                [this](const paclient::ChangePtr& change) { note(*change); }) {}

/// @param isHeld whether the server has given the lock to this process
void LockKeeper::refuseOthers(int sourceId, const Caller& caller, bool isHeld) const {
    const auto found = locks_.find(sourceId);
    const bool isOthers = found != locks_.end() && found->second.sessionId != caller.sessionId;
    if (isOthers && (isHeld || !found->second.isTaken)) {
        throw held(sourceId, found->second.user);
    }
}

void LockKeeper::requireFree(int sourceId, const Caller& caller) const {
    const bool isHeld = isHeldHere(sourceId);
    const std::lock_guard guard(lock_);
    refuseOthers(sourceId, caller, isHeld);
}

/// From then on other sessions are refused the source. Whether this process holds it is looked up
/// without the lock, and again when another request has changed the entry meanwhile.
void LockKeeper::reserve(int sourceId, const Caller& caller) {
    const auto state = [&] {  // with the lock
        const auto found = locks_.find(sourceId);
        return found == locks_.end() ? std::make_pair(std::uint64_t{0}, false)
                                     : std::make_pair(found->second.number, found->second.isTaken);
    };
    std::unique_lock guard(lock_);
    while (true) {
        const auto before = state();
        guard.unlock();
        const bool isHeld = isHeldHere(sourceId);
        guard.lock();
        if (state() == before) {
            refuseOthers(sourceId, caller, isHeld);
            locks_[sourceId] = {{caller.sessionId, caller.user, caller.page}, false, 0, ++takings_};
            pages_[caller.sessionId].awaySinceMS = pa::monotonicMS();
            return;
        }
    }
}

Confirmation LockKeeper::take(int sourceId, const Caller& caller, const Wait& wait) {
    reserve(sourceId, caller);
    const auto end = [&](bool isKept) {
        const std::lock_guard guard(lock_);
        isKept ? (void)(locks_[sourceId].isTaken = true) : (void)locks_.erase(sourceId);
    };
    try {
        Confirmation confirmation =
            unlessHeldElsewhere(sourceId, paclient::takeLock(sourceId, wait));
        end(confirmation.holds() || confirmation.isUnknown());
        return confirmation;
    } catch (...) {
        end(isHeldHere(sourceId));
        throw;
    }
}

Confirmation LockKeeper::release(int sourceId, const Caller& caller, const Wait& wait) {
    requireFree(sourceId, caller);
    return unlessHeldElsewhere(sourceId, paclient::releaseLock(sourceId, wait));
}

std::optional<LockKeeper::Holder> LockKeeper::holderOf(int sourceId) const {
    const std::lock_guard guard(lock_);
    const auto found = locks_.find(sourceId);
    return found == locks_.end() ? std::nullopt : std::optional<Holder>(found->second);
}

/// A lock that this process does not hold any more is forgotten.
void LockKeeper::note(const paclient::Change& change) {
    const auto& lock = std::get<LockChange>(change);
    const bool isLost = lock.lockedUUID != paclient::ownUUID();
    const std::lock_guard guard(lock_);
    const auto found = locks_.find(lock.sourceId);
    if (isLost && found != locks_.end() && found->second.isTaken) {
        locks_.erase(found);
    }
}

void LockKeeper::pageOpened(const std::string& sessionId) {
    const std::lock_guard guard(lock_);
    ++pages_[sessionId].open;
}

void LockKeeper::pageClosed(const std::string& sessionId) {
    const std::lock_guard guard(lock_);
    Pages& pages = pages_[sessionId];
    --pages.open;
    pages.awaySinceMS = pa::monotonicMS();
}

void LockKeeper::sessionEnded(const std::string& sessionId) {
    const std::lock_guard guard(lock_);
    const auto found = pages_.find(sessionId);
    if (found != pages_.end()) {
        found->second.isOver = true;
    }
}

/// The locks that are to be released. Also forgets sessions without pages and locks.
std::vector<LockKeeper::Due> LockKeeper::dueLocks() {
    constexpr std::int64_t patienceMS = std::chrono::milliseconds(patience).count();
    constexpr std::int64_t untilRepeatedMS = 10'000;
    const std::int64_t now = pa::monotonicMS();
    std::vector<Due> due;
    std::map<std::string, Pages> needed;
    const std::lock_guard guard(lock_);
    for (auto& [sourceId, lock] : locks_) {
        const Pages& pages = needed[lock.sessionId] = pages_[lock.sessionId];
        const bool isAway = pages.open == 0 && now - pages.awaySinceMS >= patienceMS;
        if (lock.isTaken && (pages.isOver || isAway) && now >= lock.releaseAgainMS) {
            lock.releaseAgainMS = now + untilRepeatedMS;
            due.push_back({sourceId, lock.number, lock.user,
                           pages.isOver ? "the session has ended" : "no page of it is open"});
        }
    }
    for (auto entry = pages_.begin(); entry != pages_.end();) {
        const bool isNeeded = entry->second.open > 0 || needed.count(entry->first) > 0;
        entry = isNeeded ? std::next(entry) : pages_.erase(entry);
    }
    return due;
}

/// One row for a release, however often it is asked for.
void LockKeeper::beginRow(const Due& due) {
    if (rows_.count(due.sourceId) > 0) {
        return;
    }
    try {
        const auto id =
            audit_.begin({due.user, "", "release source", std::to_string(due.sourceId), ""});
        rows_.insert({due.sourceId, {id, due}});
    } catch (const ApiError& error) {
        handleError(1, "source %d is released without a row in the audit trail: %s", due.sourceId,
                    error.what());
    }
}

/// The rows of what is not held any more, or has been taken again since.
void LockKeeper::finishRows() {
    for (auto entry = rows_.begin(); entry != rows_.end();) {
        const auto& [sourceId, row] = *entry;
        bool isTakenAgain = false;
        {
            const std::lock_guard guard(lock_);
            const auto found = locks_.find(sourceId);
            isTakenAgain = found != locks_.end() && found->second.number != row.due.number;
        }
        if (!isTakenAgain && isHeldHere(sourceId)) {
            ++entry;
            continue;
        }
        finishRow(row);
        entry = rows_.erase(entry);
    }
}

void LockKeeper::finishRow(const Row& row) {
    audit_.finish(row.id, "done",
                  "source " + std::to_string(row.due.sourceId) + " is released: " + row.due.reason);
}

void LockKeeper::releaseAll(std::chrono::milliseconds limit) {
    std::vector<Due> all;
    {
        const std::lock_guard guard(lock_);
        for (const auto& [sourceId, lock] : locks_) {
            all.push_back({sourceId, lock.number, lock.user, "the panel ends"});
        }
    }
    for (const Due& due : all) {
        if (!isHeldHere(due.sourceId)) {
            continue;
        }
        beginRow(due);
        if (!paclient::releaseLock(due.sourceId, {limit}).holds()) {
            return;  // nor would the others be released: they lapse
        }
        if (const auto row = rows_.find(due.sourceId); row != rows_.end()) {
            finishRow(row->second);
        }
    }
}

void LockKeeper::releaseDue() {
    finishRows();
    for (const Due& due : dueLocks()) {
        if (isHeldHere(due.sourceId)) {
            beginRow(due);
            paclient::releaseLock(due.sourceId, {std::chrono::milliseconds(0)});
        } else {
            const std::lock_guard guard(lock_);
            locks_.erase(due.sourceId);
        }
    }
}

}  // namespace papanel
