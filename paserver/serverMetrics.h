// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "framework/durationCounts.h"
#include "metrics/OperationCounts.h"
#include "paserver/IncomingUploads.h"
#include "paserver/Publications.h"

namespace paserver {

/// What a server is doing now.
struct ServerState {
    bool isConnected = false;       ///< to the broker
    bool isActive = false;          ///< its role
    bool isReady = false;           ///< the broker has had everything that it holds
    double connectedSeconds = 0;    ///< for how long it has been connected; 0 while it is not
    std::uint64_t connections = 0;  ///< to the broker, so far
    std::int64_t generation = 0;    ///< its
    std::size_t requestsWaiting = 0;
    std::size_t clients = 0;  ///< whose operations were answered in the last minute
    PublicationState publications{};
    std::uintmax_t keptBytes = 0;  ///< of the files of its state
};

/// What a server has counted since its process began. Any thread counts and reads.
struct ServerCounters {
    using Count = std::atomic<std::uint64_t>;
    template <std::size_t size>
    using Counts = std::array<Count, size>;

    enum OperationOutcome : std::size_t { accepted, refused, relayed, ignored };

    Counts<6> requests{};  ///< that were taken, by `ClientRequest::Kind`
    Count late{0};         ///< those whose time had passed
    Count repeated{0};     ///< those that had an answer already
    Count dropped{0};      ///< for want of space
    std::array<pametrics::OperationCounts, 4> operations{};  ///< by outcome
    Counts<4> announcements{};  ///< that are over, by their completion code
    UploadCounts uploads{};
    Count restarts{0};
    Count published{0};            ///< messages that the client of the broker has taken
    pa::DurationCounts answers{};  ///< time from a request to its answer
};

/// As text for Prometheus, with the process.
std::string metricsText(const ServerState& state, const ServerCounters& counters);

}  // namespace paserver
