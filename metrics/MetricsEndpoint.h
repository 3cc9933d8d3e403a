// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "framework/posixThread.h"

namespace pametrics {

/// Serves /metrics and /healthz over HTTP, without any login. One thread serves every client, and
/// waits for none: one that takes longer than `limitMS` for its request, or for the answer, is
/// left, and of more than `mostClients` the one that has been there longest.
class MetricsEndpoint {
public:
    static constexpr int limitMS = 5000;
    static constexpr std::size_t mostClients = 64;

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
    const pa::PosixThread thread_;  // the last one: it uses the server
};

}  // namespace pametrics
