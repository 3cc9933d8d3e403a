// SPDX-License-Identifier: Apache-2.0
#include "paserver/serverMetrics.h"

#include "metrics/Exposition.h"

namespace paserver {

std::string metricsText(const ServerCounts& counts) {
    const auto valueOf = [](std::uint64_t count) { return static_cast<double>(count); };
    pametrics::Exposition all;
    all.gauge("public_address_server_connected", "Whether it is connected to the broker",
              counts.isConnected ? 1 : 0);
    all.gauge("public_address_server_active", "Whether it is the active server",
              counts.isActive ? 1 : 0);
    all.gauge("public_address_server_ready",
              "Whether the broker has taken everything that it holds once", counts.isReady ? 1 : 0);
    all.counter("public_address_server_connections_total", "Connections to the broker",
                valueOf(counts.connections));
    all.gauge("public_address_server_requests_waiting", "Requests of clients that wait",
              valueOf(counts.requestsWaiting));
    all.counter("public_address_server_requests_total", "Requests of clients, also late ones",
                valueOf(counts.requests));
    all.counter("public_address_server_requests_dropped_total",
                "Requests of clients for which there was no space",
                valueOf(counts.requestsDropped));
    all.counter("public_address_server_messages_published_total",
                "Records, answers and levels that were handed to the broker",
                valueOf(counts.published));
    all.addProcess();
    return all.text();
}

}  // namespace paserver
