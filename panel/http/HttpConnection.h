// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "panel/http/Channel.h"
#include "panel/http/HttpSettings.h"
#include "panel/http/RequestHead.h"
#include "panel/http/Route.h"

namespace httplib {
class DataSink;
}

namespace papanel {

/// A request as the server passes it on.
struct HttpRequest {
    RequestHead head{};
    std::string address{};  ///< of the connection's other end
    int port = 0;           ///< of this end
    bool isEncrypted = false;

    /// Reads the body; once.
    /// @throws ApiError 413 before anything is read when it is longer, 408 when it does not come in
    ///                  time
    std::function<std::string(std::size_t maxBytes)> readBody{};
};

/// Answers a request. Called on the thread of its connection.
using HttpHandler = std::function<ApiReply(const HttpRequest&)>;

/// A connection of a client: reads requests and writes the answers. For one thread, but `stop`.
class HttpConnection {
public:
    /// @param socket   of an accepted connection, non-blocking; closed with the object
    /// @param address  of its other end
    /// @param port     of this end
    /// @param tls      null for none
    /// @param limits   outlive the object, as does the handler
    HttpConnection(int socket, std::string address, int port, SSL_CTX* tls,
                   const HttpLimits& limits, const HttpHandler& handler);
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;
    ~HttpConnection();

    /// Serves until either side ends the connection.
    void serve();

    /// Answers that there are too many connections; waits for nothing.
    void refuse();

    /// Ends it. From any thread.
    void stop();

    [[nodiscard]] const std::string& address() const { return address_; }

private:
    class HttplibStream;
    class Responder;

    bool serveRequest();
    std::optional<std::string> readHead();
    std::string readBody(const RequestHead& head, std::size_t maxBytes);
    bool respond(const RequestHead& head, const ApiReply& reply, bool isLast);
    bool send(const std::function<void(const Write&, const std::function<bool()>&)>& stream,
              httplib::DataSink& sink);
    void linger();
    bool receive(Channel::Deadline deadline);
    bool transmit(const char* data, std::size_t size);

    Channel channel_;
    const std::string address_;
    const int port_;
    const bool isEncrypted_;
    const HttpLimits& limits_;
    const HttpHandler& handler_;
    std::atomic<bool> isStopped_{false};
    const std::unique_ptr<Responder> responder_;
    std::string received_;  // and not used yet
    bool isFirst_ = true;   // no request has come
    std::size_t requests_ = 0;
};

}  // namespace papanel
