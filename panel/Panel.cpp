// SPDX-License-Identifier: Apache-2.0
#include "panel/Panel.h"

#include <atomic>
#include <openssl/crypto.h>
#include <utility>

#include "framework/log.h"
#include "panel/Housekeeping.h"
#include "panel/PanelMetrics.h"
#include "panel/ProblemLog.h"
#include "panel/Services.h"
#include "panel/access/SessionCookie.h"
#include "panel/access/Sessions.h"
#include "panel/access/UserFile.h"
#include "panel/api/AudioStore.h"
#include "panel/api/FaultTimes.h"
#include "panel/api/IdempotencyStore.h"
#include "panel/api/LockKeeper.h"
#include "panel/api/ScheduleNumbers.h"
#include "panel/api/SentAnnouncements.h"
#include "panel/api/announcementEnds.h"
#include "panel/api/routes.h"
#include "panel/api/sessionRoutes.h"
#include "panel/audit/AuditTrail.h"
#include "panel/events/EventHub.h"
#include "panel/events/eventRoutes.h"
#include "panel/http/ApiError.h"
#include "panel/http/HttpServer.h"

namespace papanel {

namespace {

std::unique_ptr<UserFile> usersOf(const PanelSettings& settings) {
    return settings.users.empty() ? nullptr : std::make_unique<UserFile>(settings.users);
}

/// In a link, an IPv6 address has brackets.
std::string hostInLink(const std::string& host) {
    return host.find(':') == std::string::npos ? host : '[' + host + ']';
}

RouterSettings routerSettings(const PanelSettings& settings, const paclient::Connection& connection,
                              HttpHandler metrics) {
    RouterSettings router;
    router.isEncrypted = settings.isEncrypted;
    if (settings.isBehindProxy) {
        router.proxies = settings.http.proxies;
    } else if (isLoopbackHost(settings.http.host)) {
        router.hosts = {"localhost", "127.0.0.1", "[::1]", hostInLink(settings.http.host)};
    }
    router.others["/healthz"] = [&connection](const HttpRequest& /*request*/) {
        ApiReply reply;
        reply.status = connection.isSynced() ? 200 : 503;
        reply.contentType = "text/plain; charset=utf-8";
        reply.bytes = connection.isSynced() ? "ok\n" : "the connection to the server is away\n";
        return reply;
    };
    router.others["/metrics"] = std::move(metrics);
    return router;
}

/// Whether a request may read the metrics: it comes from this machine, has the token, or is that of
/// a user. A proxy on this machine passes on what comes from elsewhere.
bool mayReadMetrics(const HttpRequest& request, const PanelSettings& settings, Sessions& sessions) {
    const std::string given = request.head.header("authorization");
    const std::string expected = "Bearer " + settings.metricsToken;
    const bool hasToken = !settings.metricsToken.empty() && given.size() == expected.size() &&
                          CRYPTO_memcmp(given.data(), expected.data(), given.size()) == 0;
    const bool isLocal = !settings.isBehindProxy && isLoopbackHost(request.address);
    const SessionCookie cookie(request.port, settings.isEncrypted);
    return hasToken || isLocal || sessions.find(cookie.tokenIn(request.head.header("cookie")));
}

}  // namespace

struct Panel::Parts {
    Parts(const PanelSettings& settings, std::unique_ptr<paclient::Endpoint> server)
        : users(usersOf(settings)),
          audit(settings.audit, settings.auditDays),
          sessions(users.get()),
          endpoint(server != nullptr ? std::move(server)
                                     : paserver::openServer(settings.server, "PAPANEL",
                                                            [this] { return stop.isRequested(); })),
          connection(*endpoint),
          router(services, allRoutes(),
                 routerSettings(settings, connection, [this, settings](const HttpRequest& request) {
                     return metricsFor(request, settings);
                 })) {
        sessions.onEnd([this](const std::string& id, const std::string& reason) {
            locks.sessionEnded(id);
            events.log().endSession(id, reason);
        });
        try {
            connection.open({std::chrono::milliseconds(0)});
        } catch (const paclient::NotConnected&) {
            // It continues to connect; pages show that.
        }
        events.start(services);
        http = std::make_unique<HttpServer>(
            settings.http, [this](const HttpRequest& request) { return router(request); });
        serving = http.get();
        url = (settings.http.certificate.empty() ? "http://" : "https://") +
              hostInLink(settings.http.host) + ':' + std::to_string(http->port()) + '/';
    }

    ApiReply metricsFor(const HttpRequest& request, const PanelSettings& settings) {
        if (!mayReadMetrics(request, settings, sessions)) {
            throw ApiError(401, "not-logged-in", "log in first, or send the token");
        }
        const HttpServer* const server = serving;
        ApiReply reply;
        reply.contentType = pametrics::Exposition::contentType;
        reply.bytes = metrics.text(services, router, server == nullptr ? 0 : server->connections());
        return reply;
    }

    void logProblem() {
        if (const auto link = endpoint->report()) {
            problems.note(endpoint->name(), link->problem, connection.lossReason());
        }
    }

    /// Without a connection nothing is known of locks.
    void releaseLocks() {
        if (connection.isSynced()) {
            locks.releaseDue();
        }
    }

    Stop stop;
    const std::unique_ptr<UserFile> users;
    AuditTrail audit;
    Sessions sessions;
    IdempotencyStore answers;
    AudioStore audio;
    const std::unique_ptr<paclient::Endpoint> endpoint;
    const FaultTimes faults;
    paclient::Connection connection;
    LockKeeper locks{audit};
    SentAnnouncements announcements;
    ScheduleNumbers scheduleNumbers;
    EventHub events;
    Services services{connection, events, sessions,      users.get(), audit,           answers,
                      locks,      audio,  announcements, faults,      scheduleNumbers, stop};
    ProblemLog problems;
    Housekeeping housekeeping{{[this] { logProblem(); }, [this] { sessions.endExpired(); },
                               [this] { audit.keepHouse(); }, [this] { releaseLocks(); },
                               [this] { audio.removeExpired(); },
                               [this] { finishAnnouncements(services); }}};
    const PanelMetrics metrics;
    Router router;
    std::string url;
    std::atomic<const HttpServer*> serving{nullptr};
    std::unique_ptr<HttpServer> http;  // the last one: its threads use all others
};

Panel::Panel(const PanelSettings& settings) : Panel(settings, nullptr) {}

Panel::Panel(const PanelSettings& settings, std::unique_ptr<paclient::Endpoint> endpoint)
    : parts_(std::make_unique<Parts>(settings, std::move(endpoint))) {}

Panel::~Panel() {
    requestStop();
    parts_->http.reset();  // no page takes a source any more
    try {
        parts_->locks.releaseAll(std::chrono::seconds(1));
    } catch (const std::exception& error) {
        handleError(1, "sources are not released: %s", error.what());
    }
}

void Panel::requestStop() {
    parts_->stop.request();
    parts_->events.stop();
    parts_->http->requestStop();
}

void Panel::keepHouse() {
    parts_->housekeeping.run();
}

bool Panel::readFiles() {
    const bool areUsersRead = parts_->users == nullptr || parts_->users->readAgain();
    try {
        parts_->http->readCertificate();
    } catch (const std::exception& error) {
        handleError(1, "%s; the certificate is that of before", error.what());
        return false;
    }
    return areUsersRead;
}

int Panel::port() const {
    return parts_->http->port();
}

std::string Panel::url() const {
    return parts_->url;
}

const Router& Panel::router() const {
    return parts_->router;
}

Routes allRoutes() {
    Routes routes = resourceRoutes();
    for (const Routes& others : {sessionRoutes(), eventRoutes()}) {
        routes.insert(routes.end(), others.begin(), others.end());
    }
    return routes;
}

bool isLoopbackHost(const std::string& host) {
    return host == "localhost" || host == "::1" || host.compare(0, 4, "127.") == 0;
}

}  // namespace papanel
