// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "../link/Transport.h"

namespace simserver {
class SimControl;
}

namespace paclient {

/// How the way to a distant server is doing.
struct LinkReport {
    std::string problem;             ///< why there is no connection; empty with one
    bool isPermanent = false;        ///< it stays so until something is configured
    std::int64_t generation = 0;     ///< of the server: another, higher one at each of its starts
    bool synced = false;             ///< everything that the server holds has arrived
    std::int64_t forSeconds = 0;     ///< for how long it has been so, or not
    std::size_t requests = 0;        ///< that wait for an answer
    std::size_t queued = 0;          ///< events that wait to be delivered
    std::uint64_t unanswered = 0;    ///< requests whose outcome is unknown
    std::uint64_t dropped = 0;       ///< messages that were malformed, or of an earlier generation
    std::uint64_t fetchedAgain = 0;  ///< how often records were fetched again
};

/// Where an audio server is: gives the transport to it, and owns what the transport needs. Knows
/// neither the controller nor any particular server.
class Endpoint {
public:
    virtual ~Endpoint() = default;

    /// The transport to the server. Lives as long as the endpoint.
    virtual palink::Transport& transport() = 0;

    /// What can be asked of the server's own side; null when the server is a real one. Lives as
    /// long as the endpoint.
    virtual simserver::SimControl* simControl() { return nullptr; }

    /// Where the server is, for messages: for example "embedded server".
    [[nodiscard]] virtual std::string name() const = 0;

    /// How the way to the server is doing; nothing for a server in this process. May be called from
    /// any thread.
    [[nodiscard]] virtual std::optional<LinkReport> report() const { return std::nullopt; }

    /// Whether the server ends with this object: what it plays and holds is then lost.
    [[nodiscard]] virtual bool endsWithProcess() const { return false; }
};

}  // namespace paclient
