// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace papanel {

/// The cookie that holds a session's token. Its name has the port of the server, for browsers send
/// the cookies of a host to all ports: the sessions of two servers on one host would replace each
/// other.
class SessionCookie {
public:
    /// @param port     of the server
    /// @param isSecure whether browsers come over TLS: they then keep the cookie from everything
    ///                 else, and from what other hosts set
    SessionCookie(int port, bool isSecure);

    /// The token in a Cookie header; empty when there is none.
    [[nodiscard]] std::string tokenIn(std::string_view cookieHeader) const;

    /// The value of a Set-Cookie header.
    /// @param token empty to have the browser forget the cookie
    [[nodiscard]] std::string set(const std::string& token) const;

private:
    const std::string start_;  // name and "="
    const bool isSecure_;
};

}  // namespace papanel
