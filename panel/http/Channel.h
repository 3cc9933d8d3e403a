// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <openssl/ssl.h>

#include "util/Descriptor.h"

namespace papanel {

using TlsContext = std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)>;

/// What the connections of a server with TLS share. Null without a certificate.
/// @throws std::runtime_error when a file cannot be used
TlsContext makeTlsContext(const std::filesystem::path& certificate,
                          const std::filesystem::path& key);

/// The bytes of a connection, in the clear or in TLS. Each call has a deadline. For one thread, but
/// `shutDown`.
class Channel {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    /// @param socket of an accepted connection, non-blocking; closed with the channel
    /// @param tls    null for none
    /// @throws std::bad_alloc, and closes the socket
    Channel(int socket, SSL_CTX* tls);

    /// Before everything else. Does nothing without TLS.
    /// @return false when it has failed or taken too long
    bool shakeHands(Deadline deadline);

    /// Waits for bytes.
    /// @return their number; 0 at the end, after an error and when the deadline has passed
    std::size_t read(char* data, std::size_t size, Deadline deadline);

    /// Writes all of it.
    /// @return false after an error and when the deadline has passed
    bool write(const char* data, std::size_t size, Deadline deadline);

    /// Whether the client has not ended the connection, as far as is known.
    [[nodiscard]] bool isOpen() const;

    /// Ends both directions, or that to the client only: then what has been written arrives, for
    /// the client may still send. Ends every wait of this channel. From any thread.
    void shutDown();
    void endWriting();

private:
    /// Does what OpenSSL or the system call is to do, and waits as it asks for.
    /// @return its result, 0 or below for the end, an error or the deadline
    int attempt(const std::function<int()>& action, short events, Deadline deadline);
    [[nodiscard]] bool await(short events, Deadline deadline) const;

    const pautil::Descriptor socket_;
    const std::unique_ptr<SSL, void (*)(SSL*)> ssl_;
};

}  // namespace papanel
