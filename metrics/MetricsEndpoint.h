// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace pametrics {

/// Serves /metrics and /healthz over HTTP, without any login. One thread serves every client and
/// waits for none; one that neither sends nor reads for some seconds is left. While there are
/// `mostClients`, further ones wait.
class MetricsEndpoint {
public:
    static constexpr unsigned mostClients = 500;

    /// Listens, and serves from then on.
    /// @param address   "127.0.0.1:9464"; port 0 is a free one
    /// @param text      the metrics; called on the thread of the endpoint, as is `isHealthy`
    /// @param isHealthy whether /healthz answers 200, else 503
    /// @throws std::runtime_error with a text for people when it cannot listen there
    MetricsEndpoint(const std::string& address, std::function<std::string()> text,
                    std::function<bool()> isHealthy);
    MetricsEndpoint(const MetricsEndpoint&) = delete;
    MetricsEndpoint& operator=(const MetricsEndpoint&) = delete;
    ~MetricsEndpoint();

    [[nodiscard]] int port() const;

private:
    class Server;

    const std::unique_ptr<Server> server_;
};

}  // namespace pametrics
