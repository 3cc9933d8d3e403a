// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "framework/posixThread.h"
#include "panel/http/Channel.h"
#include "panel/http/HttpConnection.h"
#include "panel/http/HttpSettings.h"

namespace papanel {

/// Serves HTTP/1.1: each connection has a thread of its own, with limits for all that a client may
/// take. Every function may be called from any thread.
class HttpServer {
public:
    /// Listens, and serves from then on.
    /// @throws std::runtime_error when the address or a file cannot be used
    HttpServer(const HttpSettings& settings, HttpHandler handler);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    /// Stops and waits until no handler runs.
    ~HttpServer();

    /// Reads the certificate and its key again, for the connections to come. Does nothing without
    /// TLS.
    /// @throws std::runtime_error when a file cannot be used; those of before then stay
    void readCertificate();

    /// Listens no more and ends every connection.
    void requestStop();

    [[nodiscard]] int port() const { return port_; }

    /// How many connections are open.
    [[nodiscard]] std::size_t connections() const;

private:
    class Listener;
    using Connections = std::list<HttpConnection>;

    void acceptConnections();
    void begin(int socket, const std::string& address);
    void end(Connections::iterator connection);
    void forget(Connections::iterator connection);
    [[nodiscard]] bool hasPlaceFor(const std::string& address) const;

    const HttpSettings settings_;
    const HttpHandler handler_;
    const std::unique_ptr<Listener> listener_;
    const int port_;

    mutable std::mutex lock_;
    std::condition_variable ended_;
    // Guarded by lock_.
    TlsContext tls_;  // each of its connections keeps it alive
    bool isStopping_ = false;
    Connections connections_;
    std::map<std::string, int> perNetwork_;  // of clients

    pa::PosixThread acceptor_;
};

}  // namespace papanel
