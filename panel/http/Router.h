// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <tuple>

#include "framework/durationCounts.h"
#include "panel/http/BodySpace.h"
#include "panel/http/HttpConnection.h"
#include "panel/http/RouteTable.h"

namespace papanel {

struct Services;

/// How browsers reach the gateway.
struct RouterSettings {
    std::set<std::string> hosts{};  ///< the names it answers to; empty: any. A page elsewhere could
                                    ///< have its own name lead to a loopback address
    std::set<std::string> proxies{};  ///< addresses that may name the client, in X-Forwarded-For
    bool isEncrypted = false;         ///< over TLS, to this server or to a proxy
    std::map<std::string, HttpHandler> others{};  ///< what is neither the API nor the page, by path
};

/// Answers requests: those of the API by the tables of routes, after every check that does not
/// depend on the route; others with a file of the page. May be called from any thread.
class Router {
public:
    Router(Services& services, Routes routes, RouterSettings settings);

    ApiReply operator()(const HttpRequest& request);

    /// Answers so far: by method, pattern and status. Others than those of the API have no pattern.
    using Counts = std::map<std::tuple<std::string, std::string, int>, std::uint64_t>;
    [[nodiscard]] Counts counts() const;

    /// How long operations have taken, whatever came of them.
    [[nodiscard]] const pa::DurationCounts& operationDurations() const {
        return operationDurations_;
    }

    [[nodiscard]] const Routes& routes() const { return table_.routes(); }

private:
    void checkHost(const RequestHead& head) const;
    [[nodiscard]] std::string clientOf(const HttpRequest& request) const;
    ApiReply reply(const HttpRequest& request, const Route*& found);
    ApiReply call(const Route& route, ApiRequest& request);

    Services& services_;
    const RouteTable table_;
    const RouterSettings settings_;
    pa::DurationCounts operationDurations_;
    BodySpace bodies_;

    mutable std::mutex lock_;
    Counts counts_;  // guarded by lock_
};

}  // namespace papanel
