// SPDX-License-Identifier: Apache-2.0
#include "panel/access/SessionCookie.h"

#include <algorithm>
#include <cstddef>

namespace papanel {

SessionCookie::SessionCookie(int port, bool isSecure)
    : start_((isSecure ? "__Host-papanel-" : "papanel-") + std::to_string(port) + '='),
      isSecure_(isSecure) {}

std::string SessionCookie::tokenIn(std::string_view cookieHeader) const {
    while (!cookieHeader.empty()) {
        const std::size_t end = cookieHeader.find(';');
        std::string_view pair = cookieHeader.substr(0, end);
        cookieHeader.remove_prefix(end == std::string_view::npos ? cookieHeader.size() : end + 1);
        pair.remove_prefix(std::min(pair.find_first_not_of(' '), pair.size()));
        if (pair.substr(0, start_.size()) == start_) {
            return std::string(pair.substr(start_.size()));
        }
    }
    return "";
}

std::string SessionCookie::set(const std::string& token) const {
    return start_ + token + "; HttpOnly; SameSite=Strict; Path=/" +
           (token.empty() ? "; Max-Age=0" : "") + (isSecure_ ? "; Secure" : "");
}

}  // namespace papanel
