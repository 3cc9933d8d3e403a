// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/SourceLocks.h"

#include "simserver/earliest.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

bool SourceLocks::take(int sourceId, const std::string& client, std::int64_t nowMS) {
    const bool wasFree = locks_.count(sourceId) == 0;
    if (!wasFree) {
        requireHeldBy(client, sourceId);
    }
    locks_[sourceId] = {client, nowMS + lifeMS};
    return wasFree;
}

void SourceLocks::renew(int sourceId, const std::string& client, std::int64_t nowMS) {
    requireHeldBy(client, sourceId);
    locks_.at(sourceId).lapsesMS = nowMS + lifeMS;
}

void SourceLocks::release(int sourceId, const std::string& client) {
    requireHeldBy(client, sourceId);
    locks_.erase(sourceId);
}

std::string SourceLocks::holderOf(int sourceId) const {
    const auto found = locks_.find(sourceId);
    return found == locks_.end() ? std::string() : found->second.client;
}

std::optional<std::int64_t> SourceLocks::nextLapse() const {
    return earliest(locks_, [](const auto& entry) { return std::optional(entry.second.lapsesMS); });
}

std::vector<int> SourceLocks::lapse(std::int64_t nowMS) {
    std::vector<int> lapsed;
    for (auto it = locks_.begin(); it != locks_.end();) {
        if (it->second.lapsesMS <= nowMS) {
            lapsed.push_back(it->first);
            it = locks_.erase(it);
        } else {
            ++it;
        }
    }
    return lapsed;
}

void SourceLocks::requireHeldBy(const std::string& client, int sourceId) const {
    const std::string holder = holderOf(sourceId);
    if (holder != client) {
        throw Refused("source " + std::to_string(sourceId) +
                      (holder.empty() ? " is not locked" : " is locked by another client"));
    }
}

}  // namespace simserver
