// SPDX-License-Identifier: Apache-2.0
#include "panel/http/requestBody.h"

#include <set>
#include <string>
#include <vector>

#include "panel/http/ApiError.h"

namespace papanel {

namespace {

constexpr int maxDepth = 32;  // JSON is written by functions that call themselves

/// Refuses what is too deep, and members that are there twice: readers differ in which one counts.
Json parsed(const std::string& text) {
    using Event = Json::parse_event_t;
    bool isRight = true;
    std::vector<std::set<std::string>> members;  // of the objects that are open
    const Json::parser_callback_t check = [&](int depth, Event event, const Json& value) {
        isRight = isRight && depth <= maxDepth;
        if (event == Event::object_start) {
            members.emplace_back();
        } else if (event == Event::object_end) {
            members.pop_back();
        } else if (event == Event::key) {
            isRight = members.back().insert(value.get<std::string>()).second && isRight;
        }
        return isRight;
    };
    Json body = Json::parse(text, check, false);
    if (!isRight || body.is_discarded()) {
        throw ApiError(400, "bad-request",
                       "the body is not JSON, is nested too deeply, or has a member twice");
    }
    return body;
}

}  // namespace

void readBody(const HttpRequest& request, const Route& route, ApiRequest& call) {
    if (request.head.contentLength == 0) {
        return;
    }
    if (!request.head.isOfType(route.contentType)) {
        throw ApiError(415, "unsupported-media-type",
                       std::string("a body of the type ") + route.contentType + " is expected");
    }
    call.bytes = request.readBody(route.maxBody);
    if (route.contentType == std::string_view("application/json")) {
        call.body = parsed(call.bytes);
        call.bytes.clear();
    }
}

}  // namespace papanel
