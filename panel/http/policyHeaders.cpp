// SPDX-License-Identifier: Apache-2.0
#include "panel/http/policyHeaders.h"

#include <algorithm>
#include <utility>

namespace papanel {

namespace {

constexpr const char* pagePolicy =
    "default-src 'self'; object-src 'none'; base-uri 'none'; form-action 'self'; "
    "frame-ancestors 'none'; media-src 'self' blob:; img-src 'self' data:";
constexpr const char* dataPolicy = "default-src 'none'; frame-ancestors 'none'";
constexpr std::pair<const char*, const char*> commonHeaders[] = {
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
};

}  // namespace

void addPolicyHeaders(ApiReply& reply) {
    const bool isPage = reply.contentType.compare(0, 9, "text/html") == 0;
    reply.headers.emplace_back("Content-Security-Policy", isPage ? pagePolicy : dataPolicy);
    for (const auto& [name, value] : commonHeaders) {
        reply.headers.emplace_back(name, value);
    }
    const auto isAge = [](const auto& header) { return header.first == "Cache-Control"; };
    if (std::none_of(reply.headers.begin(), reply.headers.end(), isAge)) {
        reply.headers.emplace_back("Cache-Control", "no-store");
    }
}

}  // namespace papanel
