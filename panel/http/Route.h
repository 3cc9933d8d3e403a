// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "client/json.h"

namespace papanel {

using paclient::Json;

struct Services;

/// What a user may do; each role may do what those before it may.
enum class Role { Monitor, Operator };

/// Who may call a route.
enum class Access { Open, Monitor, Operator };

/// Who has sent a request.
struct Caller {
    std::string user;  ///< "local" where there are no users
    Role role = Role::Monitor;
    std::string sessionId;  ///< of the session's cookie; no answer has it
    std::string page;       ///< of the page, from the header X-Page; may be empty
    std::string address;    ///< of the client; behind a proxy, as the proxy names it
};

/// A request to the API, with what its route has made of it.
struct ApiRequest {
    std::string method;
    std::string path;
    std::vector<std::string> parts;  ///< what the {parts} of the pattern stand for, decoded
    std::multimap<std::string, std::string> query;
    std::multimap<std::string, std::string> headers;  ///< names in small letters
    Json body;                                        ///< null without one
    std::string bytes;                                ///< a body that is not JSON
    int port = 0;                                     ///< of this server
    bool isEncrypted = false;  ///< on the way from the browser, to this server or to a proxy
    std::string token;         ///< in the session's cookie; may be of no session
    Caller caller;
    std::int64_t auditRow = 0;  ///< of an operation, in the audit trail

    /// The query parameter, or a default.
    [[nodiscard]] std::string queryOr(const std::string& name, const std::string& other = "") const;
    /// The header, empty when there is none.
    [[nodiscard]] std::string header(const std::string& name) const;
};

/// Writes a part of a streamed answer.
/// @return false when the client is away
using Write = std::function<bool(const std::string& bytes)>;

/// An answer of the API.
struct ApiReply {
    int status = 200;
    Json body{};                ///< sent as JSON unless `contentType` is set
    std::string contentType{};  ///< of `bytes`; empty: the answer is `body`
    std::string bytes{};
    std::vector<std::pair<std::string, std::string>> headers{};
    /// For an answer that is sent as it comes: called on the connection's thread until it returns
    /// or the server stops. Empty for every other.
    std::function<void(const Write& write, const std::function<bool()>& stopped)> stream{};
};

/// What a request to a route is.
enum class Effect {
    Reads,     ///< changes nothing
    Session,   ///< logs in or out: no audit row, no idempotency key
    Asks,      ///< changes nothing, with a body: no audit row, no idempotency key
    Operates,  ///< an operation: written to the audit trail before, with its outcome after
    Ends,      ///< an operation that ends a sound: also done when the audit trail cannot be written
};

/// A line of the tables of routes.
struct Route {
    const char* method;   ///< "GET"
    const char* pattern;  ///< "/sources/{id}/lock", below /api/v1
    Access access;
    Effect effect;
    const char* operation;  ///< name in the audit trail, "take lock"; null unless it operates
    ApiReply (*handle)(Services& services, const ApiRequest& request);
    const char* contentType = "application/json";  ///< of the body that is expected
    std::size_t maxBody = std::size_t{256} << 10U;
};

/// Whether a request to a route is an operation.
inline bool operates(const Route& route) {
    return route.effect == Effect::Operates || route.effect == Effect::Ends;
}

/// A table of routes.
using Routes = std::vector<Route>;

}  // namespace papanel
