// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "../../sdk/recordKinds.h"
#include "serverStatus.h"

namespace palink {

/// Which of the servers on a broker a client uses, as configured.
struct Destinations {
    std::optional<int> server{};  ///< destination number; nothing: the active one
    bool indirect = false;        ///< over a local server, which relays
    int localServer = 0;          ///< destination number of that one, when indirect
};

/// Which servers a client uses now.
struct Selection {
    int local = 0;   ///< operations for -2, sinks and the like
    int active = 0;  ///< announcements, schedules
    int direct = 0;  ///< operations for -1
    bool indirect = false;
    std::int64_t localGeneration = 0;
    std::int64_t activeGeneration = 0;

    /// The kinds of records that are received from each server, by its destination number.
    std::map<int, std::vector<pa::RecordKind>> records{};
};

/// The servers on a broker, by their statuses. Not for use by two threads at a time.
class ServerDirectory {
public:
    /// How many servers are remembered: more are no installation but a fault.
    static constexpr std::size_t maxServers = 1000;

    /// Takes a status, but for one of an older generation than that of the last: the will of an
    /// earlier start may come late.
    /// @return false when there are too many servers: this one is not remembered
    bool set(int dstNo, ServerStatus status);
    void remove(int dstNo) { servers_.erase(dstNo); }
    void clear() { servers_.clear(); }

    /// @return null when nothing is known of it
    [[nodiscard]] const ServerStatus* find(int dstNo) const;

    /// The destination number of the active server; nothing when there is none.
    [[nodiscard]] std::optional<int> active() const;

    /// @return the servers to use, or for people why there is none
    [[nodiscard]] std::variant<Selection, std::string> select(const Destinations& wanted) const;

private:
    [[nodiscard]] bool isOnline(int dstNo) const;

    std::map<int, ServerStatus> servers_;  // by destination number
};

}  // namespace palink
