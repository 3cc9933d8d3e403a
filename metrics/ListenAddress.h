// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace pametrics {

/// Where a server listens.
struct ListenAddress {
    std::string host;  ///< an IPv6 address without its brackets
    int port = 0;      ///< 0 for a free one
};

/// Reads "127.0.0.1:9464", "[::1]:0" or "name:80".
/// @return nothing when it is none of these, or the port is above 65535
std::optional<ListenAddress> readListenAddress(const std::string& text);

}  // namespace pametrics
