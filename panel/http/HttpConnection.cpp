// SPDX-License-Identifier: Apache-2.0
#include "panel/http/HttpConnection.h"

#include <algorithm>
#include <array>
#include <httplib.h>
#include <string_view>
#include <utility>

#include "framework/log.h"
#include "panel/http/ApiError.h"
#include "panel/http/contentCoding.h"
#include "panel/http/errorReply.h"
#include "panel/http/policyHeaders.h"

namespace papanel {

namespace {

constexpr std::size_t sliceBytes = 16384;  // read or written at once
constexpr const char* jsonType = "application/json; charset=utf-8";

Channel::Deadline after(std::chrono::milliseconds limit) {
    return std::chrono::steady_clock::now() + limit;
}

/// So long may this many bytes take.
std::chrono::milliseconds timeFor(std::size_t bytes, std::chrono::milliseconds base,
                                  const HttpLimits& limits) {
    constexpr std::size_t perSecond = 1000;
    return base + std::chrono::milliseconds(bytes * perSecond / limits.bytesPerSecond);
}

}  // namespace

/// The connection as httplib sees it: a request that is always the same, for the real one has been
/// examined, and what is written.
class HttpConnection::HttplibStream final : public httplib::Stream {
public:
    HttplibStream(HttpConnection& connection, bool isHead)
        : connection_(connection),
          request_(isHead ? "HEAD / HTTP/1.1\r\n\r\n" : "GET / HTTP/1.1\r\n\r\n") {}

    [[nodiscard]] bool is_readable() const override { return true; }
    [[nodiscard]] bool is_writable() const override { return !connection_.isStopped_; }
    ssize_t read(char* data, std::size_t size) override {
        const std::size_t count = request_.copy(data, size, read_);
        read_ += count;
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* data, std::size_t size) override {
        return connection_.transmit(data, size) ? static_cast<ssize_t>(size) : -1;
    }
    void get_remote_ip_and_port(std::string& address, int& /*port*/) const override {
        address = connection_.address_;
    }
    void get_local_ip_and_port(std::string& /*address*/, int& /*port*/) const override {}
    /// It would refuse the numbers that `select` cannot take.
    [[nodiscard]] socket_t socket() const override { return INVALID_SOCKET; }

private:
    HttpConnection& connection_;
    const std::string request_;
    std::size_t read_ = 0;
};

/// Of httplib's server what writes an answer: status line, headers, chunks.
class HttpConnection::Responder : public httplib::Server {
public:
    explicit Responder(const HttpLimits& limits) {
        // What it lets clients know; the limits are applied by the connection.
        set_keep_alive_timeout(
            std::chrono::duration_cast<std::chrono::seconds>(limits.idle).count());
        set_keep_alive_max_count(limits.requestsPerConnection);
        svr_sock_ = 0;  // it ends streams when there is none
        set_pre_routing_handler([this](const httplib::Request&, httplib::Response& response) {
            fill(response);
            return HandlerResponse::Handled;
        });
    }

    bool write(httplib::Stream& stream, bool isLast) {
        bool isClosed = isLast;
        return process_request(stream, isLast, isClosed, nullptr);
    }

    std::function<void(httplib::Response&)> fill;
};

HttpConnection::HttpConnection(int socket, std::string address, int port, SSL_CTX* tls,
                               const HttpLimits& limits, const HttpHandler& handler)
    : channel_(socket, tls),
      address_(std::move(address)),
      port_(port),
      isEncrypted_(tls != nullptr),
      limits_(limits),
      handler_(handler),
      responder_(std::make_unique<Responder>(limits)) {}

HttpConnection::~HttpConnection() = default;

void HttpConnection::serve() {
    if (!channel_.shakeHands(after(limits_.head))) {
        return;
    }
    while (!isStopped_ && serveRequest()) {
    }
}

void HttpConnection::refuse() {
    if (!isEncrypted_) {
        constexpr std::string_view answer =
            "HTTP/1.1 503 Service Unavailable\r\nRetry-After: 5\r\nConnection: close\r\n"
            "Content-Length: 0\r\n\r\n";
        channel_.write(answer.data(), answer.size(), after({}));
    }
}

void HttpConnection::stop() {
    isStopped_ = true;
    channel_.shutDown();
}

/// @return whether another request may follow
bool HttpConnection::serveRequest() {
    RequestHead head;
    bool isGone = false;
    bool isLast = true;
    ApiReply reply = replyOf([&]() -> ApiReply {
        const auto text = readHead();
        if (!text) {
            isGone = true;
            return {};
        }
        head = parseHead(*text);
        bool isBodyLeft = head.contentLength > 0;
        HttpRequest request{head, address_, port_, isEncrypted_, {}};
        request.readBody = [&](std::size_t maxBytes) {
            std::string body = readBody(head, maxBytes);
            isBodyLeft = false;
            return body;
        };
        ApiReply answer = handler_(request);
        isLast = isBodyLeft || !head.keepsAlive() || answer.stream ||
                 ++requests_ >= limits_.requestsPerConnection;
        return answer;
    });
    if (isGone || isStopped_) {
        return false;
    }
    if (reply.contentType.empty() && !reply.body.is_null()) {
        reply.contentType = jsonType;
        reply.bytes = reply.body.dump(-1, ' ', false, Json::error_handler_t::replace);
    }
    addPolicyHeaders(reply);
    compress(head, reply);
    const bool isWritten = respond(head, reply, isLast);
    if (isLast && isWritten) {
        linger();
    }
    return isWritten && !isLast;
}

/// @return nothing when the client has ended the connection or sends too slowly
std::optional<std::string> HttpConnection::readHead() {
    if (isFirst_) {
        isFirst_ = false;
    } else if (received_.empty() && !receive(after(limits_.idle))) {
        return std::nullopt;
    }
    const auto deadline = after(limits_.head);
    std::size_t searched = 0;
    while (true) {
        const std::size_t end = received_.find("\r\n\r\n", searched);
        if (end <= limits_.headBytes) {
            std::string head = received_.substr(0, end);
            received_.erase(0, end + 4);
            return head;
        }
        if (received_.size() > limits_.headBytes) {
            throw ApiError(431, "too-large", "the headers are too long");
        }
        searched = received_.size() - std::min<std::size_t>(received_.size(), 3);
        if (!receive(deadline)) {
            return std::nullopt;
        }
    }
}

std::string HttpConnection::readBody(const RequestHead& head, std::size_t maxBytes) {
    if (head.contentLength > maxBytes) {
        throw ApiError(413, "too-large",
                       "the body is longer than " + std::to_string(maxBytes) + " bytes");
    }
    constexpr std::string_view goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    if (received_.empty() && head.hasWord("expect", "100-continue") &&
        !transmit(goOn.data(), goOn.size())) {
        throw ApiError(408, "too-slow", "the connection is lost");
    }
    const auto deadline = after(timeFor(head.contentLength, limits_.body, limits_));
    while (received_.size() < head.contentLength) {
        if (!receive(deadline)) {
            throw ApiError(408, "too-slow", "the body has not come in time");
        }
    }
    std::string body = std::exchange(received_, received_.substr(head.contentLength));
    body.resize(head.contentLength);
    return body;
}

bool HttpConnection::respond(const RequestHead& head, const ApiReply& reply, bool isLast) {
    responder_->fill = [&](httplib::Response& response) {
        response.status = reply.status;
        for (const auto& [name, value] : reply.headers) {
            response.headers.emplace(name, value);
        }
        const std::string& type = reply.contentType;
        if (reply.stream) {
            const auto provide = [&](std::size_t /*offset*/, httplib::DataSink& sink) {
                return send(reply.stream, sink);
            };
            head.isOldVersion ? response.set_content_provider(type, provide)
                              : response.set_chunked_content_provider(type, provide);
        } else if (!type.empty()) {
            response.set_content(reply.bytes, type);
        }
    };
    HttplibStream stream(*this, head.method == "HEAD");
    return responder_->write(stream, isLast);
}

/// @return false when the answer cannot be completed
bool HttpConnection::send(
    const std::function<void(const Write& write, const std::function<bool()>& stopped)>& stream,
    httplib::DataSink& sink) {
    bool isComplete = true;
    const Write write = [&](const std::string& bytes) {
        // In slices, for each is copied.
        for (std::size_t at = 0; isComplete && at < bytes.size(); at += sliceBytes) {
            const std::size_t size = std::min(sliceBytes, bytes.size() - at);
            isComplete = sink.write(bytes.data() + at, size);
        }
        return isComplete;
    };
    try {
        stream(write, [this] { return isStopped_ || !channel_.isOpen(); });
    } catch (const std::exception& error) {
        handleError(1, "a stream has failed: %s", error.what());
        isComplete = false;
    }
    if (!isComplete || isStopped_) {
        return false;  // else it would be called again
    }
    sink.done();
    return true;
}

/// A connection that is closed while the client still sends would lose the answer.
void HttpConnection::linger() {
    constexpr std::chrono::seconds limit{2};
    constexpr std::size_t maxBytes = std::size_t{1} << 20U;
    channel_.endWriting();
    const auto deadline = after(limit);
    std::array<char, sliceBytes> ignored{};
    std::size_t total = 0;
    while (!isStopped_ && total < maxBytes) {
        const std::size_t count = channel_.read(ignored.data(), ignored.size(), deadline);
        if (count == 0) {
            return;
        }
        total += count;
    }
}

/// Waits for more bytes.
bool HttpConnection::receive(Channel::Deadline deadline) {
    std::array<char, sliceBytes> bytes;
    const std::size_t count = channel_.read(bytes.data(), bytes.size(), deadline);
    received_.append(bytes.data(), count);
    return count > 0 && !isStopped_;
}

bool HttpConnection::transmit(const char* data, std::size_t size) {
    return channel_.write(data, size, after(timeFor(size, limits_.write, limits_)));
}

}  // namespace papanel
