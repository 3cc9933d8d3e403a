// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/ServerDirectory.h"

#include <iterator>
#include <utility>

namespace palink {

namespace {

using pa::RecordKind;

/// From which server a client of a standby receives the records of a kind.
struct KindRow {
    RecordKind kind;
    bool fromLocal;  // beside `fromActive`, only of an indirect client
    bool fromActive;
};

constexpr KindRow kindRows[] = {
    {RecordKind::Source, true, false},        {RecordKind::Sink, true, false},
    {RecordKind::Trigger, true, false},       {RecordKind::Selector, true, false},
    {RecordKind::AttachedZones, true, false}, {RecordKind::Announcement, false, true},
    {RecordKind::Schedule, false, true},      {RecordKind::Zone, true, true},
    {RecordKind::TtsPort, false, true},       {RecordKind::TtsDictionary, false, true},
};
static_assert(std::size(kindRows) == std::size(pa::recordKinds));

std::string serverText(int dstNo) {
    return "server " + std::to_string(dstNo);
}

}  // namespace

bool ServerDirectory::set(int dstNo, ServerStatus status) {
    const ServerStatus* const last = find(dstNo);
    if (last == nullptr && servers_.size() >= maxServers) {
        return false;
    }
    if (last == nullptr || last->generation <= status.generation) {
        servers_[dstNo] = std::move(status);
    }
    return true;
}

const ServerStatus* ServerDirectory::find(int dstNo) const {
    const auto found = servers_.find(dstNo);
    return found == servers_.end() ? nullptr : &found->second;
}

bool ServerDirectory::isOnline(int dstNo) const {
    const ServerStatus* const status = find(dstNo);
    return status != nullptr && status->online;
}

std::optional<int> ServerDirectory::active() const {
    std::optional<int> best;
    for (const auto& [dstNo, status] : servers_) {  // the lowest number first
        const bool isActive = status.online && status.role == ServerRole::Active;
        if (isActive && (!best || status.precedence < servers_.at(*best).precedence)) {
            best = dstNo;
        }
    }
    return best;
}

std::variant<Selection, std::string> ServerDirectory::select(const Destinations& wanted) const {
    const std::optional<int> given =
        wanted.indirect ? std::optional(wanted.localServer) : wanted.server;
    const ServerStatus* const own = given && !wanted.indirect ? find(*given) : nullptr;
    const bool isActive = own != nullptr && own->online && own->role == ServerRole::Active;
    std::optional<int> active = isActive ? given : this->active();
    if (!active && !wanted.indirect) {
        active = given;
    }
    if (!active) {
        return "no server is active";
    }
    const int local = given.value_or(*active);
    const int direct = wanted.indirect ? wanted.server.value_or(local) : local;
    for (const int dstNo : {local, *active, direct}) {
        if (find(dstNo) == nullptr) {
            return "the broker knows no " + serverText(dstNo);
        }
        if (!isOnline(dstNo)) {
            return serverText(dstNo) + " is offline";
        }
    }
    Selection selection;
    selection.local = local;
    selection.active = *active;
    selection.direct = direct;
    selection.indirect = wanted.indirect;
    selection.localGeneration = find(local)->generation;
    selection.activeGeneration = find(*active)->generation;
    for (const KindRow& row : kindRows) {
        const bool isShared = row.fromLocal && row.fromActive && wanted.indirect;
        if (!row.fromActive || isShared || local == *active) {
            selection.records[local].push_back(row.kind);
        }
        if (row.fromActive && local != *active) {
            selection.records[*active].push_back(row.kind);
        }
    }
    return selection;
}

}  // namespace palink
