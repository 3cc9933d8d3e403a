// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace paserver {

/// What a server has counted, and its state.
struct ServerCounts {
    bool isConnected = false;           ///< to the broker
    bool isActive = false;              ///< its role
    bool isReady = false;               ///< the broker has had everything that it holds
    std::uint64_t connections = 0;      ///< to the broker, so far
    std::size_t requestsWaiting = 0;    ///< to be carried out
    std::uint64_t requests = 0;         ///< carried out, or late
    std::uint64_t requestsDropped = 0;  ///< for want of space
    std::uint64_t published = 0;        ///< messages that the client of the broker has taken
};

/// As text for Prometheus, with the process.
std::string metricsText(const ServerCounts& counts);

}  // namespace paserver
