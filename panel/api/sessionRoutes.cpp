// SPDX-License-Identifier: Apache-2.0
#include "panel/api/sessionRoutes.h"

#include <optional>

#include "panel/Services.h"
#include "panel/access/SessionCookie.h"
#include "panel/access/Sessions.h"
#include "panel/http/ApiError.h"

namespace papanel {

namespace {

ApiReply replyWith(const Services& services, const std::optional<Session>& session) {
    ApiReply reply;
    reply.body = {{"loggedIn", session.has_value()},
                  {"authentication", services.sessions.areAuthenticated()}};
    if (session) {
        paclient::Endpoint& endpoint = services.connection.endpoint();
        reply.body.update({{"user", session->user},
                           {"role", roleName(session->role)},
                           {"csrf", session->csrf},
                           {"language", nullptr},
                           {"server", endpoint.name()},
                           {"simulated", endpoint.simControl() != nullptr}});
    }
    return reply;
}

SessionCookie cookieOf(const ApiRequest& request) {
    return {request.port, request.isEncrypted};
}

ApiReply replyWith(const Services& services, const ApiRequest& request, const NewSession& begun) {
    ApiReply reply = replyWith(services, begun.session);
    reply.headers.emplace_back("Set-Cookie", cookieOf(request).set(begun.token));
    return reply;
}

ApiReply getSession(Services& services, const ApiRequest& request) {
    const auto session = services.sessions.find(request.token);
    if (!session && !services.sessions.areAuthenticated()) {
        return replyWith(services, request, services.sessions.beginLocal());
    }
    return replyWith(services, session);
}

ApiReply logIn(Services& services, const ApiRequest& request) {
    const auto textOf = [&request](const char* name) {
        const Json& body = request.body;
        if (!body.is_object() || body.size() != 2 || !body.contains(name) ||
            !body[name].is_string()) {
            throw ApiError(400, "bad-request", "the members are user and password, two texts");
        }
        return body[name].get<std::string>();
    };
    const NewSession begun =
        services.sessions.logIn(textOf("user"), textOf("password"), request.caller.address);
    if (const auto before = services.sessions.find(request.token)) {
        services.sessions.end(before->id, "login");
    }
    return replyWith(services, request, begun);
}

ApiReply logOut(Services& services, const ApiRequest& request) {
    services.sessions.end(request.caller.sessionId, "logout");
    ApiReply reply;
    reply.status = 204;
    reply.headers.emplace_back("Set-Cookie", cookieOf(request).set(""));
    return reply;
}

}  // namespace

const Routes& sessionRoutes() {
    constexpr std::size_t mostLoginBytes = 4096;
    static const Routes routes = {
        {"GET", "/session", Access::Open, Effect::Reads, nullptr, getSession},
        {"POST", "/session", Access::Open, Effect::Session, nullptr, logIn, "application/json",
         mostLoginBytes},
        {"DELETE", "/session", Access::Monitor, Effect::Session, nullptr, logOut},
    };
    return routes;
}

}  // namespace papanel
