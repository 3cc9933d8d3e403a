// SPDX-License-Identifier: Apache-2.0
#include "metrics/MetricsEndpoint.h"

#include <microhttpd.h>
#include <netdb.h>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "metrics/Exposition.h"
#include "metrics/ListenAddress.h"

namespace pametrics {

namespace {

constexpr unsigned idleSeconds = 5;
constexpr std::size_t bytesOfClient = 16384;  // of its request's head, and of what answers it
constexpr const char* plain = "text/plain; charset=utf-8";

struct Answer {
    unsigned status;
    std::string body{};
    const char* type = plain;
};

using Response = std::unique_ptr<MHD_Response, decltype(&MHD_destroy_response)>;

MHD_Result send(MHD_Connection* connection, const Answer& answer) {
    // The library copies the body, in spite of the type.
    const Response response(
        MHD_create_response_from_buffer(answer.body.size(),
                                        const_cast<char*>(answer.body.data()),  // NOLINT
                                        MHD_RESPMEM_MUST_COPY),
        MHD_destroy_response);
    if (response == nullptr) {
        return MHD_NO;
    }
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, answer.type);
    MHD_add_response_header(response.get(), "X-Content-Type-Options", "nosniff");
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONNECTION, "close");
    if (answer.status == MHD_HTTP_METHOD_NOT_ALLOWED) {
        MHD_add_response_header(response.get(), MHD_HTTP_HEADER_ALLOW, "GET, HEAD");
    }
    return MHD_queue_response(connection, answer.status, response.get());
}

}  // namespace

class MetricsEndpoint::Server {
public:
    Server(const std::string& where, std::function<std::string()> text,
           std::function<bool()> isHealthy)
        : text_(std::move(text)), isHealthy_(std::move(isHealthy)) {
        if (const auto address = readListenAddress(where)) {
            start(*address);
        }
        if (daemon_ == nullptr) {
            throw std::runtime_error("the metrics cannot be served at '" + where +
                                     "': an address and a port that is free are expected");
        }
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        if (daemon_ != nullptr) {
            MHD_stop_daemon(daemon_);
        }
    }

    [[nodiscard]] int port() const {
        return MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_BIND_PORT)->port;
    }

private:
    void start(const ListenAddress& address) {
        addrinfo wanted{};
        wanted.ai_socktype = SOCK_STREAM;
        wanted.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
        addrinfo* found = nullptr;
        if (getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &wanted,
                        &found) != 0) {
            return;
        }
        const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owned(found, freeaddrinfo);
        for (; found != nullptr && daemon_ == nullptr; found = found->ai_next) {
            // At "::" clients of IPv4 are served, too.
            const unsigned ip = found->ai_family == AF_INET6 ? MHD_USE_DUAL_STACK : MHD_NO_FLAG;
            daemon_ = MHD_start_daemon(
                MHD_USE_AUTO_INTERNAL_THREAD | ip, 0, nullptr, nullptr, &handle, this,
                MHD_OPTION_SOCK_ADDR, found->ai_addr, MHD_OPTION_CONNECTION_LIMIT, mostClients,
                MHD_OPTION_CONNECTION_TIMEOUT, idleSeconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT,
                bytesOfClient, MHD_OPTION_END);
        }
    }

    /// Called by the library with the head of a request.
    static MHD_Result handle(void* server, MHD_Connection* connection, const char* path,
                             const char* method, const char* /*version*/, const char* /*body*/,
                             std::size_t* /*bodyBytes*/, void** /*request*/) {
        return send(connection, static_cast<Server*>(server)->answerTo(method, path));
    }

    [[nodiscard]] Answer answerTo(std::string_view method, std::string_view path) const try {
        if (method != MHD_HTTP_METHOD_GET && method != MHD_HTTP_METHOD_HEAD) {
            return {MHD_HTTP_METHOD_NOT_ALLOWED};
        }
        if (path == "/metrics") {
            return {MHD_HTTP_OK, text_(), Exposition::contentType};
        }
        if (path == "/healthz") {
            return isHealthy_() ? Answer{MHD_HTTP_OK, "ok\n"}
                                : Answer{MHD_HTTP_SERVICE_UNAVAILABLE, "not ready\n"};
        }
        return {MHD_HTTP_NOT_FOUND};
    } catch (const std::exception&) {
        return {MHD_HTTP_INTERNAL_SERVER_ERROR};
    }

    const std::function<std::string()> text_;
    const std::function<bool()> isHealthy_;
    MHD_Daemon* daemon_ = nullptr;
};

MetricsEndpoint::MetricsEndpoint(const std::string& address, std::function<std::string()> text,
                                 std::function<bool()> isHealthy)
    : server_(std::make_unique<Server>(address, std::move(text), std::move(isHealthy))) {}

MetricsEndpoint::~MetricsEndpoint() = default;

int MetricsEndpoint::port() const {
    return server_->port();
}

}  // namespace pametrics
