// SPDX-License-Identifier: Apache-2.0
#include "panel/access/cookie.h"

#include <algorithm>
#include <cstddef>

namespace papanel {

namespace {

constexpr std::string_view cookieStart = "papanel=";

}  // namespace

std::string tokenIn(std::string_view cookieHeader) {
    while (!cookieHeader.empty()) {
        const std::size_t end = cookieHeader.find(';');
        std::string_view pair = cookieHeader.substr(0, end);
        cookieHeader.remove_prefix(end == std::string_view::npos ? cookieHeader.size() : end + 1);
        pair.remove_prefix(std::min(pair.find_first_not_of(' '), pair.size()));
        if (pair.substr(0, cookieStart.size()) == cookieStart) {
            return std::string(pair.substr(cookieStart.size()));
        }
    }
    return "";
}

std::string setCookie(const std::string& token, bool isSecure) {
    return std::string(cookieStart) + token + "; HttpOnly; SameSite=Strict; Path=/" +
           (token.empty() ? "; Max-Age=0" : "") + (isSecure ? "; Secure" : "");
}

}  // namespace papanel
