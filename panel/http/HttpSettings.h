// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>

namespace papanel {

/// What clients may take of the server.
struct HttpLimits {
    int connections = 1000;
    int connectionsPerAddress = 250;  ///< or network, see `networkOf`; not of loopback addresses
    std::size_t requestsPerConnection = 1000;
    std::size_t headBytes = std::size_t{32} << 10U;  ///< request line and headers

    std::chrono::milliseconds idle{15'000};   ///< between two requests
    std::chrono::milliseconds head{10'000};   ///< from its first byte to its end; also a handshake
    std::chrono::milliseconds body{10'000};   ///< and as long as it takes at `bytesPerSecond`
    std::chrono::milliseconds write{20'000};  ///< of an answer or a part of a stream; likewise
    std::size_t bytesPerSecond = std::size_t{16} << 10U;
    /// A client that acknowledges nothing for so long has lost its network.
    std::chrono::milliseconds unacknowledged{40'000};
};

/// Where and how the server listens.
struct HttpSettings {
    std::string host = "127.0.0.1";       ///< address or name
    int port = 0;                         ///< 0: a free one
    std::filesystem::path certificate{};  ///< with its chain, PEM; empty: no TLS
    std::filesystem::path key{};
    std::set<std::string> proxies{};  ///< addresses that name others, see `ForwardedClient`
    HttpLimits limits{};
};

}  // namespace papanel
