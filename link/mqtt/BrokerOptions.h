// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include "../../framework/api.h"

namespace palink {

/// A broker's address or a setting of its connection cannot be used; the text is for people.
class PA_API BrokerOptionsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where an MQTT 5 broker is, and how to connect to it. A plain value.
struct PA_API BrokerOptions {
    std::string host;  ///< name, or address without brackets
    int port = 1883;   ///< 1 to 65535
    bool tls = false;  ///< whether the connection is encrypted and the broker's certificate checked
    std::filesystem::path caFile{};           ///< of trusted authorities; empty: the system's
    std::filesystem::path certificateFile{};  ///< of this client; empty for none
    std::filesystem::path keyFile{};          ///< of its private key
    std::string user{};                       ///< empty for none
    std::string password{};                   ///< never part of a message

    /// @return the address as typed, without user and password, for messages
    [[nodiscard]] std::string url() const;
};

/// Reads `mqtt://HOST[:PORT]` (port 1883 by default) or `mqtts://HOST[:PORT]` (TLS, 8883). An IPv6
/// address stands in brackets.
/// @throws BrokerOptionsError for another text, and for one with a user, password, path or query:
///         secrets are no arguments
PA_API BrokerOptions parseBrokerUrl(const std::string& url);

/// Takes user and password from a file with the lines `user = NAME` and `password = TEXT`, which
/// only its owner may read.
/// @throws BrokerOptionsError when it cannot be read, has other lines, or others may read it
PA_API void readCredentials(BrokerOptions& options, const std::filesystem::path& file);

}  // namespace palink
