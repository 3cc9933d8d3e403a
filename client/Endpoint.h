#pragma once

#include <string>

#include "link/Transport.h"

namespace simserver {
class SimControl;
}

namespace paclient {

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

    /// Whether the server ends with this object: what it plays and holds is then lost.
    [[nodiscard]] virtual bool endsWithProcess() const { return false; }
};

}  // namespace paclient
