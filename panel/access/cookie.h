// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/// @file
/// The cookie that holds a session's token.

namespace papanel {

/// The token in a Cookie header; empty when there is none.
std::string tokenIn(std::string_view cookieHeader);

/// The value of a Set-Cookie header.
/// @param token    empty to have the browser forget the cookie
/// @param isSecure whether the browser has come over TLS: it then sends the cookie over TLS only
std::string setCookie(const std::string& token, bool isSecure);

}  // namespace papanel
