// SPDX-License-Identifier: Apache-2.0
#include "panel/api/LockKeeper.h"

#include <iterator>
#include <utility>

#include "client/confirmedOperations.h"
#include "framework/clock.h"
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

LockKeeper::LockKeeper()
    : listener_(paclient::kinds<LockChange>(),
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

Confirmation LockKeeper::take(int sourceId, const Caller& caller, const Wait& wait) {
    const bool isHeld = isHeldHere(sourceId);
    {
        const std::lock_guard guard(lock_);
        refuseOthers(sourceId, caller, isHeld);
        locks_[sourceId] = {{caller.sessionId, caller.user, caller.page}, false, 0};
        pages_[caller.sessionId].awaySinceMS = pa::monotonicMS();
    }
    const auto end = [&](bool isKept) {
        const std::lock_guard guard(lock_);
        isKept ? (void)(locks_[sourceId].isTaken = true) : (void)locks_.erase(sourceId);
    };
    try {
        const Confirmation confirmation =
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

/// The sources whose locks are to be released. Also forgets sessions without pages and locks.
std::vector<int> LockKeeper::dueSources() {
    constexpr std::int64_t patienceMS = std::chrono::milliseconds(patience).count();
    constexpr std::int64_t untilRepeatedMS = 10'000;
    const std::int64_t now = pa::monotonicMS();
    std::vector<int> due;
    std::map<std::string, Pages> needed;
    const std::lock_guard guard(lock_);
    for (auto& [sourceId, lock] : locks_) {
        const Pages& pages = needed[lock.sessionId] = pages_[lock.sessionId];
        const bool isAway = pages.open == 0 && now - pages.awaySinceMS >= patienceMS;
        if (lock.isTaken && (pages.isOver || isAway) && now >= lock.releaseAgainMS) {
            lock.releaseAgainMS = now + untilRepeatedMS;
            due.push_back(sourceId);
        }
    }
    for (auto entry = pages_.begin(); entry != pages_.end();) {
        const bool isNeeded = entry->second.open > 0 || needed.count(entry->first) > 0;
        entry = isNeeded ? std::next(entry) : pages_.erase(entry);
    }
    return due;
}

void LockKeeper::releaseAll(std::chrono::milliseconds limit) {
    std::vector<int> sources;
    {
        const std::lock_guard guard(lock_);
        for (const auto& [sourceId, lock] : locks_) {
            sources.push_back(sourceId);
        }
    }
    for (const int sourceId : sources) {
        if (isHeldHere(sourceId) && !paclient::releaseLock(sourceId, {limit}).holds()) {
            return;  // nor would the others be released: they lapse
        }
    }
}

void LockKeeper::releaseDue() {
    for (const int sourceId : dueSources()) {
        if (isHeldHere(sourceId)) {
            paclient::releaseLock(sourceId, {std::chrono::milliseconds(0)});
        } else {
            const std::lock_guard guard(lock_);
            locks_.erase(sourceId);
        }
    }
}

}  // namespace papanel
