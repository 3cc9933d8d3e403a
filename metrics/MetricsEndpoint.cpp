// SPDX-License-Identifier: Apache-2.0
#include "metrics/MetricsEndpoint.h"

#include <algorithm>
#include <httplib.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>

#include "metrics/Exposition.h"

namespace pametrics {

struct MetricsEndpoint::Server {
    httplib::Server http;
    int port = 0;
    std::thread thread;
};

namespace {

/// @return the port, 0 when the address cannot be used
int bindTo(httplib::Server& http, const std::string& address) {
    const std::size_t colon = address.rfind(':');
    const std::string digits = colon == std::string::npos ? "" : address.substr(colon + 1);
    if (digits.empty() || digits.size() > 5 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        return 0;
    }
    std::string host = address.substr(0, colon);
    if (host.size() > 1 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    const int port = std::stoi(digits);
    if (port == 0) {
        return std::max(http.bind_to_any_port(host), 0);
    }
    return http.bind_to_port(host, port) ? port : 0;
}

}  // namespace

MetricsEndpoint::MetricsEndpoint(const std::string& address, std::function<std::string()> text,
                                 std::function<bool()> isHealthy)
    : server_(std::make_unique<Server>()) {
    httplib::Server& http = server_->http;
    http.new_task_queue = [] { return new httplib::ThreadPool(1); };
    http.set_socket_options([](int socket) {  // the library's own share the port with others
        const int isOn = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &isOn, sizeof isOn);
    });
    http.set_keep_alive_max_count(1);
    http.set_read_timeout(1);
    http.set_write_timeout(5);
    http.set_payload_max_length(0);
    http.Get("/metrics", [text = std::move(text)](const auto& /*request*/, auto& response) {
        response.set_content(text(), Exposition::contentType);
    });
    http.Get("/healthz",
             [isHealthy = std::move(isHealthy)](const auto& /*request*/, auto& response) {
                 const bool isFine = isHealthy();
                 response.status = isFine ? 200 : 503;
                 response.set_content(isFine ? "ok\n" : "not ready\n", "text/plain; charset=utf-8");
             });
    server_->port = bindTo(http, address);
    if (server_->port == 0) {
        throw std::runtime_error("the metrics cannot be served at '" + address +
                                 "': an address and a port that is free are expected");
    }
    server_->thread = std::thread([&http] { http.listen_after_bind(); });
    while (!http.is_running()) {  // before that it cannot be stopped
        std::this_thread::yield();
    }
}

MetricsEndpoint::~MetricsEndpoint() {
    server_->http.stop();
    server_->thread.join();
}

int MetricsEndpoint::port() const {
    return server_->port;
}

}  // namespace pametrics
