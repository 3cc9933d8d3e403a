// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "link/mqtt/BrokerOptions.h"

namespace palink {

/// Why a connection has ended or was not made.
struct ConnectionEnd {
    std::string reason{};      ///< for people
    bool isPermanent = false;  ///< another attempt fails too, with this configuration
};

/// Why the broker refuses a connection.
/// @param reasonCode of its CONNACK, 0x80 or more
ConnectionEnd refusedConnection(int reasonCode, const BrokerOptions& options,
                                const std::string& clientId);

/// Why the broker ends a connection.
/// @param reasonCode of its DISCONNECT
std::string endedConnection(int reasonCode);

}  // namespace palink
