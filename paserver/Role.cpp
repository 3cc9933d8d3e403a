// SPDX-License-Identifier: Apache-2.0
#include "paserver/Role.h"

#include <algorithm>

namespace paserver {

using palink::ServerRole;

void Role::begin(ServerRole role, std::int64_t nowMS) {
    role_ = role;
    ranks_.clear();
    others_.clear();
    noneSinceMS_ = nowMS;
}

void Role::take(int dstNo, const palink::ServerStatus& status) {
    if (const auto known = ranks_.find(dstNo); known != ranks_.end()) {
        others_.erase(known->second);
        ranks_.erase(known);
    }
    if (status.online && ranks_.size() < maxServers) {
        const Rank rank{status.precedence, dstNo};
        ranks_[dstNo] = rank;
        others_[rank] = {status.role, status.generation};
    }
}

ServerRole Role::at(std::int64_t nowMS) {
    const std::optional<Server> best = active();
    if (role_ == ServerRole::Active) {
        const bool isBetter = best && Rank{ranks_.at(best->dstNo)} < self_;
        role_ = isBetter ? ServerRole::Standby : ServerRole::Active;
        noneSinceMS_ = nowMS;
    } else if (best) {
        noneSinceMS_ = nowMS;
    } else if (nowMS >= noneSinceMS_ + patience()) {
        role_ = ServerRole::Active;
    }
    return role_;
}

std::optional<std::int64_t> Role::nextMS() const {
    return role_ == ServerRole::Active || active() ? std::nullopt
                                                   : std::optional(noneSinceMS_ + patience());
}

std::optional<Role::Server> Role::active() const {
    const auto best = std::find_if(others_.begin(), others_.end(), [](const auto& entry) {
        return entry.second.role == ServerRole::Active;
    });
    if (best == others_.end()) {
        return std::nullopt;
    }
    return Server{best->first.second, best->second.generation};
}

std::int64_t Role::patience() const {
    const auto better = std::distance(others_.begin(), others_.lower_bound(self_));
    return patienceMS * (1 + better);
}

}  // namespace paserver
