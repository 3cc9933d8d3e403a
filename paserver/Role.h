// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "link/mqtt/serverStatus.h"

namespace paserver {

/// Whether a server is active or standby, by what the others on the broker report. Passive: time,
/// in ms, is an argument that never decreases.
class Role {
public:
    /// How long no server is active before the best standby takes over; the next best waits once
    /// more as long, and so on.
    static constexpr std::int64_t patienceMS = 500;
    /// How many other servers are known, at most.
    static constexpr std::size_t maxServers = 1000;

    struct Server {
        int dstNo = 0;
        std::int64_t generation = 0;
    };

    Role(int dstNo, int precedence) : self_{precedence, dstNo} {}

    /// A connection begins: nothing is known of the others.
    void begin(palink::ServerRole role, std::int64_t nowMS);

    /// @param dstNo another server
    void take(int dstNo, const palink::ServerStatus& status);

    /// The role from now on.
    palink::ServerRole at(std::int64_t nowMS);

    /// When it may change without a report of another server.
    [[nodiscard]] std::optional<std::int64_t> nextMS() const;

    /// The active server, when it is another one.
    [[nodiscard]] std::optional<Server> active() const;

private:
    using Rank = std::pair<int, int>;  // precedence, number: the lowest is the best
    struct Other {
        palink::ServerRole role = palink::ServerRole::Standby;
        std::int64_t generation = 0;
    };

    [[nodiscard]] std::int64_t patience() const;

    const Rank self_;
    palink::ServerRole role_ = palink::ServerRole::Standby;
    std::map<int, Rank> ranks_;     // of the others that are online, by number
    std::map<Rank, Other> others_;  // the same
    std::int64_t noneSinceMS_ = 0;  // while no other is active
};

}  // namespace paserver
