// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "../../sdk/recordKinds.h"
#include "MalformedMessage.h"

/// @file
/// The status of a server on the broker, docs/link-protocol.md.

namespace palink {

/// What a server holds of a kind.
struct KindSummary {
    std::uint64_t count = 0;
    std::uint64_t checksum = 0;

    bool operator==(const KindSummary& other) const {
        return count == other.count && checksum == other.checksum;
    }
    bool operator!=(const KindSummary& other) const { return !(*this == other); }
};

enum class ServerRole { Active, Standby };

struct ServerStatus {
    bool online = false;
    std::int64_t generation = 0;
    // While online only.
    ServerRole role = ServerRole::Active;
    int precedence = 1;  ///< 1 is the best
    std::string name{};
    std::string software{};
    std::string timeZone{};
    std::int64_t clockMS = 0;
    std::int64_t hostClockMS = 0;
    double speed = 1.0;
    bool control = false;
    std::map<pa::RecordKind, KindSummary> kinds{};  ///< those with records
};

std::string encodeStatus(const ServerStatus& status);

/// @throws MalformedMessage
ServerStatus decodeStatus(std::string_view payload);

}  // namespace palink
