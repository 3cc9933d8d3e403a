// SPDX-License-Identifier: Apache-2.0
#include "panel/http/requestBody.h"

#include "panel/http/ApiError.h"

namespace papanel {

namespace {

constexpr int maxDepth = 32;  // JSON is written by functions that call themselves

Json parsed(const std::string& text) {
    bool isTooDeep = false;
    const Json::parser_callback_t limit = [&isTooDeep](int depth, Json::parse_event_t, Json&) {
        isTooDeep = isTooDeep || depth > maxDepth;
        return !isTooDeep;
    };
    Json body = Json::parse(text, limit, false);
    if (isTooDeep || body.is_discarded()) {
        throw ApiError(400, "bad-request", "the body is not JSON, or nested too deeply");
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
