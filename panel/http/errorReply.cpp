// SPDX-License-Identifier: Apache-2.0
#include "panel/http/errorReply.h"

#include "framework/log.h"
#include "panel/http/ApiError.h"

namespace papanel {

namespace {

/// Details of an error that are headers, too.
constexpr std::pair<const char*, const char*> detailHeaders[] = {
    {"retryAfter", "Retry-After"},  // seconds
    {"allow", "Allow"},
};

}  // namespace

ApiReply replyFor(const ApiError& error) {
    Json content = {{"code", error.code}, {"text", error.what()}};
    content.update(error.details);
    ApiReply reply;
    reply.status = error.status;
    for (const auto& [detail, header] : detailHeaders) {
        if (const auto value = error.details.find(detail); value != error.details.end()) {
            reply.headers.emplace_back(
                header, value->is_string() ? value->get<std::string>() : value->dump());
        }
    }
    reply.body["error"] = std::move(content);
    return reply;
}

ApiReply replyOf(const std::function<ApiReply()>& answer) {
    try {
        return answer();
    } catch (const ApiError& error) {
        return replyFor(error);
    } catch (const std::exception& error) {
        handleError(1, "a request has failed: %s", error.what());
        return replyFor({500, "internal", "the request has failed"});
    }
}

}  // namespace papanel
