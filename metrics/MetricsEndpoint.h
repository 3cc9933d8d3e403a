// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace pametrics {

/// Serves /metrics and /healthz over HTTP, for a scraper on this machine: one thread answers, and a
/// client that sends nothing is left after a second.
class MetricsEndpoint {
public:
    /// Listens, and serves from then on.
    /// @param address   "127.0.0.1:9464"; port 0 is a free one
    /// @param text      the metrics; called on a thread of the endpoint, as is `isHealthy`
    /// @param isHealthy whether /healthz answers 200, else 503
    /// @throws std::runtime_error with a text for people when it cannot listen there
    MetricsEndpoint(const std::string& address, std::function<std::string()> text,
                    std::function<bool()> isHealthy);
    MetricsEndpoint(const MetricsEndpoint&) = delete;
    MetricsEndpoint& operator=(const MetricsEndpoint&) = delete;
    ~MetricsEndpoint();

    [[nodiscard]] int port() const;

private:
    struct Server;

    const std::unique_ptr<Server> server_;
};

}  // namespace pametrics
