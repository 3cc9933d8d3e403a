// SPDX-License-Identifier: Apache-2.0
#include "panel/http/Router.h"

#include <algorithm>
#include <chrono>

#include "framework/log.h"
#include "panel/Services.h"
#include "panel/access/SessionCookie.h"
#include "panel/access/Sessions.h"
#include "panel/api/IdempotencyStore.h"
#include "panel/audit/AuditTrail.h"
#include "panel/audit/auditTexts.h"
#include "panel/http/ApiError.h"
#include "panel/http/Target.h"
#include "panel/http/byteRange.h"
#include "panel/http/errorReply.h"
#include "panel/http/pageReply.h"
#include "panel/http/requestBody.h"
#include "util/AtEnd.h"

namespace papanel {

namespace {

bool changesNothing(const std::string& method) {
    return method == "GET" || method == "HEAD";
}

/// Whether a page of another origin has sent the request, or has a link to it.
bool isForeign(const RequestHead& head) {
    const std::string site = head.header("sec-fetch-site");
    return !site.empty() && site != "same-origin" && site != "none";
}

/// The name in a Host header, without the port.
std::string hostName(const std::string& host) {
    const std::size_t colon = host.rfind(':');
    const bool hasPort = colon != std::string::npos && host.find(']', colon) == std::string::npos;
    return hasPort ? host.substr(0, colon) : host;
}

/// The session of a request becomes its caller.
/// @throws ApiError
void identify(ApiRequest& call, const Route& route, Sessions& sessions) {
    const auto session = sessions.find(call.token);
    if (session) {
        call.caller.user = session->user;
        call.caller.role = session->role;
        call.caller.sessionId = session->id;
    }
    if (route.access == Access::Open) {
        return;
    }
    if (!session) {
        throw ApiError(401, "not-logged-in", "log in first");
    }
    if (!changesNothing(call.method) && !isCsrfToken(*session, call.header("x-csrf-token"))) {
        throw ApiError(403, "csrf", "the request does not have the session's token");
    }
    if (route.access == Access::Operator && session->role != Role::Operator) {
        throw ApiError(403, "forbidden", "only an operator may do this");
    }
}

/// The text of a member, or another one.
std::string memberOr(const Json& object, const char* name, const std::string& other) {
    const auto member = object.find(name);
    return member != object.end() && member->is_string() ? member->get<std::string>() : other;
}

/// The row of an operation in the audit trail; 0 without one: a microphone must not stay open
/// because a disk is full.
std::int64_t beginRow(Services& services, const Route& route, const ApiRequest& request) {
    const std::string body = request.bytes.empty()
                                 ? auditedRequest(request.body)
                                 : std::to_string(request.bytes.size()) + " bytes";
    try {
        return services.audit.begin({request.caller.user, request.caller.address, route.operation,
                                     auditedTarget(request), body});
    } catch (const ApiError& error) {
        if (route.effect != Effect::Ends) {
            throw;
        }
        handleError(1, "not in the audit trail: %s by user %s: %s", route.operation,
                    request.caller.user.c_str(), error.what());
        return 0;
    }
}

/// Calls the handler of an operation, which the audit trail has before it is sent.
ApiReply operate(Services& services, const Route& route, ApiRequest& request) {
    const std::int64_t row = beginRow(services, route, request);
    const auto finish = [&](const std::string& outcome, const std::string& text) {
        if (row != 0) {
            services.audit.finish(row, outcome, text);
        }
    };
    request.auditRow = row;
    try {
        ApiReply reply = route.handle(services, request);
        finish(memberOr(reply.body, "outcome", "done"), memberOr(reply.body, "text", ""));
        return reply;
    } catch (const ApiError& error) {
        finish(error.code, error.what());
        throw;
    } catch (const std::exception& error) {
        finish("internal", error.what());
        throw;
    }
}

}  // namespace

Router::Router(Services& services, Routes routes, RouterSettings settings)
    : services_(services), table_(std::move(routes)), settings_(std::move(settings)) {}

ApiReply Router::operator()(const HttpRequest& request) {
    const Route* found = nullptr;
    ApiReply answer = replyOf([&] { return reply(request, found); });
    if (answer.contentType.compare(0, 6, "audio/") == 0) {
        applyRange(request.head, answer);
    }
    const std::lock_guard guard(lock_);
    ++counts_[{found != nullptr ? found->method : "", found != nullptr ? found->pattern : "",
               answer.status}];
    return answer;
}

Router::Counts Router::counts() const {
    const std::lock_guard guard(lock_);
    return counts_;
}

ApiReply Router::reply(const HttpRequest& request, const Route*& found) {
    checkHost(request.head);
    Target target = parseTarget(request.head.target);
    const bool isCall = target.parts.front() == "api";
    if ((isCall || !changesNothing(request.head.method)) && isForeign(request.head)) {
        throw ApiError(403, "csrf", "the request comes from another page");
    }
    if (!isCall && !changesNothing(request.head.method)) {
        throw ApiError(405, "method-not-allowed", request.head.method + " is not possible here",
                       {{"allow", "GET, HEAD"}});
    }
    if (const auto other = settings_.others.find(target.path); other != settings_.others.end()) {
        return other->second(request);
    }
    if (!isCall) {
        return pageReply(request.head, target.path);
    }
    if (target.parts.size() < 3 || target.parts[1] != "v1") {
        throw ApiError(404, "not-found", "the API has no such address");
    }
    target.parts.erase(target.parts.begin(), target.parts.begin() + 2);
    auto match = table_.find(request.head.method, target.parts);
    found = match.route;
    ApiRequest call;
    call.method = request.head.method;
    call.path = target.path;
    call.parts = std::move(match.parts);
    call.query = std::move(target.query);
    call.headers = request.head.headers;
    call.isEncrypted = settings_.isEncrypted;
    call.caller.address = clientOf(request);
    call.caller.page = call.header("x-page");
    call.port = request.port;
    call.token = SessionCookie(call.port, call.isEncrypted).tokenIn(call.header("cookie"));
    identify(call, *found, services_.sessions);
    const BodySpace::Share space =
        bodies_.take(call.caller.user, std::min(request.head.contentLength, found->maxBody));
    readBody(request, *found, call);
    if (!operates(*found)) {
        return found->handle(services_, call);
    }
    const auto begun = std::chrono::steady_clock::now();
    const pautil::AtEnd measured(
        [&] { operationDurations_.add(std::chrono::steady_clock::now() - begun); });
    return services_.answers.answer(call, [&] { return operate(services_, *found, call); });
}

/// Refuses names of others, which lead to this machine.
void Router::checkHost(const RequestHead& head) const {
    if (!settings_.hosts.empty() && settings_.hosts.count(hostName(head.header("host"))) == 0) {
        throw ApiError(403, "forbidden", "the server does not have this name");
    }
}

/// The address of the client, as the last proxy that is trusted names it.
std::string Router::clientOf(const HttpRequest& request) const {
    std::string client = request.address;
    std::string list = request.head.joined("x-forwarded-for");
    while (!list.empty() && settings_.proxies.count(client) != 0) {
        const std::size_t comma = list.rfind(',');
        const std::size_t first = list.find_first_not_of(' ', comma + 1);
        client = first == std::string::npos ? "" : list.substr(first);
        client.erase(client.find_last_not_of(' ') + 1);
        list.erase(comma == std::string::npos ? 0 : comma);
    }
    return client;
}

}  // namespace papanel
