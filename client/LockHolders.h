// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/Change.h"
#include "sdk/PAController.h"

namespace paclient {

/// Compares the holders of the source locks with those of the time before. The threads that ask
/// for a comparison do not wait for each other: one of them compares until none has asked since.
class LockHolders {
public:
    template <class Publish>
    void compare(Publish publish) {
        if (!begin()) {
            return;
        }
        try {
            while (const auto round = nextRound()) {
                const auto locks = gPaController.getPaSourceLocks();
                for (LockChange& change : changes(locks, *round)) {
                    publish(std::move(change));
                }
            }
        } catch (...) {
            giveUp();
            throw;
        }
    }

    void forget() {
        const std::lock_guard guard(lock_);
        holders_.clear();
    }

    /// @name Around a fork
    /// @{
    void beforeFork() { lock_.lock(); }
    void inParent() { lock_.unlock(); }
    void inChild() {
        comparing_ = false;  // the thread that compares is the parent's
        lock_.unlock();
    }
    /// @}

private:
    void giveUp() {
        const std::lock_guard guard(lock_);
        comparing_ = false;
    }

    bool begin() {
        const std::lock_guard guard(lock_);
        ++asked_;
        return !std::exchange(comparing_, true);
    }

    std::optional<std::uint64_t> nextRound() {
        const std::lock_guard guard(lock_);
        comparing_ = answered_ != asked_;
        return comparing_ ? std::optional(asked_) : std::nullopt;
    }

    std::vector<LockChange> changes(const std::vector<PaSourceLockStatus>& locks,
                                    std::uint64_t round) {
        const std::lock_guard guard(lock_);
        std::vector<LockChange> result;
        std::map<int, std::string> now;
        for (const PaSourceLockStatus& lock : locks) {
            now.try_emplace(lock.sourceId, lock.lockedUUID);
        }
        for (const auto& [sourceId, before] : holders_) {
            now.try_emplace(sourceId);  // a lock that is not known any more is held by no client
        }
        for (const auto& [sourceId, holder] : now) {
            const auto before = holders_.find(sourceId);
            if (before != holders_.end() && before->second != holder) {
                result.push_back({sourceId, holder, before->second});
            }
        }
        holders_ = std::move(now);
        answered_ = round;
        return result;
    }

    std::mutex lock_;
    // Guarded by lock_.
    std::map<int, std::string> holders_;  // by source; a source is compared from its second time on
    bool comparing_ = false;
    std::uint64_t asked_ = 0;
    std::uint64_t answered_ = 0;
};

}  // namespace paclient
