// SPDX-License-Identifier: Apache-2.0
#include "panel/http/HttpServer.h"

#include <array>
#include <cerrno>
#include <httplib.h>
#include <stdexcept>
#include <system_error>

#include "framework/log.h"
#include "panel/http/networkOf.h"

namespace papanel {

namespace {

constexpr int backlog = 1024;

bool isLoopback(const std::string& address) {
    return address == "::1" || address.compare(0, 4, "127.") == 0;
}

/// The address as text; one of IPv4 in its own form.
std::string textOf(const sockaddr_storage& address, socklen_t size) {
    std::array<char, NI_MAXHOST> text{};
    getnameinfo(reinterpret_cast<const sockaddr*>(&address), size, text.data(), text.size(),
                nullptr, 0, NI_NUMERICHOST);
    const std::string result = text.data();
    constexpr std::string_view mapped = "::ffff:";
    return result.compare(0, mapped.size(), mapped) == 0 ? result.substr(mapped.size()) : result;
}

}  // namespace

/// Of httplib's server the socket that listens.
class HttpServer::Listener : public httplib::Server {
public:
    explicit Listener(const HttpSettings& settings)
        : unacknowledgedMS_(static_cast<unsigned>(settings.limits.unacknowledged.count())) {
        // Without SO_REUSEPORT, which its default has: another process could take the port as well.
        set_socket_options([](socket_t socket) {
            const int on = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        });
        errno = 0;
        port_ = settings.port;
        const bool isBound = port_ != 0 ? bind_to_port(settings.host, port_)
                                        : (port_ = bind_to_any_port(settings.host)) > 0;
        if (!isBound || ::listen(svr_sock_, backlog) != 0) {  // its own backlog is 5
            throw std::runtime_error("cannot listen on " + settings.host + ':' +
                                     std::to_string(settings.port) +
                                     (errno != 0 ? ": " + std::generic_category().message(errno)
                                                 : ": the address is not known"));
        }
    }
    ~Listener() override { close(svr_sock_); }

    [[nodiscard]] int port() const { return port_; }

    /// Waits for a connection; negative when there is none.
    int accept(std::string& address) {
        sockaddr_storage other{};
        socklen_t size = sizeof(other);
        const int socket = accept4(svr_sock_, reinterpret_cast<sockaddr*>(&other), &size,
                                   SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket >= 0) {
            const int on = 1;
            setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
            // Streams write every few seconds; by itself TCP would wait for a quarter of an hour.
            setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &unacknowledgedMS_,
                       sizeof(unacknowledgedMS_));
            address = textOf(other, size);
        }
        return socket;
    }

    /// Ends the wait for a connection.
    void end() { shutdown(svr_sock_, SHUT_RDWR); }

private:
    const unsigned unacknowledgedMS_;
    int port_ = 0;
};

HttpServer::HttpServer(const HttpSettings& settings, HttpHandler handler)
    : settings_(settings),
      handler_(std::move(handler)),
      listener_(std::make_unique<Listener>(settings)),
      port_(listener_->port()),
      tls_(makeTlsContext(settings.certificate, settings.key)),
      acceptor_("papanel accept", [this] { acceptConnections(); }) {}

HttpServer::~HttpServer() {
    requestStop();
    std::unique_lock guard(lock_);
    ended_.wait(guard, [this] { return connections_.empty(); });
}

void HttpServer::readCertificate() {
    TlsContext read = makeTlsContext(settings_.certificate, settings_.key);
    const std::lock_guard guard(lock_);
    tls_.swap(read);
}

void HttpServer::requestStop() {
    const std::lock_guard guard(lock_);
    isStopping_ = true;
    listener_->end();
    for (HttpConnection& connection : connections_) {
        connection.stop();
    }
}

std::size_t HttpServer::connections() const {
    const std::lock_guard guard(lock_);
    return connections_.size();
}

void HttpServer::acceptConnections() {
    constexpr std::chrono::milliseconds pause{100};
    while (true) {
        std::string address;
        const int socket = listener_->accept(address);
        if (socket >= 0) {
            try {
                begin(socket, address);
            } catch (const std::exception& error) {
                handleError(2, "a connection is refused: %s", error.what());
            }
            continue;
        }
        std::unique_lock guard(lock_);
        // There may be no descriptor or memory left, until a connection ends.
        const auto isOver = [this] { return isStopping_; };
        if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            ended_.wait_for(guard, pause, isOver);
        }
        if (isStopping_) {
            return;
        }
    }
}

void HttpServer::begin(int socket, const std::string& address) {
    const std::lock_guard guard(lock_);
    connections_.emplace_front(socket, address, port_, tls_.get(), settings_.limits, handler_);
    const auto connection = connections_.begin();
    if (isStopping_ || !hasPlaceFor(address)) {
        connection->refuse();
        connections_.erase(connection);
        return;
    }
    ++perNetwork_[networkOf(address)];
    try {
        pa::PosixThread("papanel http", [this, connection] {
            connection->serve();
            end(connection);
        }).detach();
    } catch (const std::system_error&) {
        forget(connection);
        throw;
    }
}

/// The connection is in the list.
bool HttpServer::hasPlaceFor(const std::string& address) const {
    const HttpLimits& limits = settings_.limits;
    const auto others = perNetwork_.find(networkOf(address));
    return static_cast<int>(connections_.size()) <= limits.connections &&
           (isLoopback(address) || settings_.proxies.count(address) != 0 ||
            others == perNetwork_.end() || others->second < limits.connectionsPerAddress);
}

void HttpServer::end(Connections::iterator connection) {
    const std::lock_guard guard(lock_);
    forget(connection);
    ended_.notify_all();
}

void HttpServer::forget(Connections::iterator connection) {
    const auto count = perNetwork_.find(networkOf(connection->address()));
    if (--count->second == 0) {
        perNetwork_.erase(count);
    }
    connections_.erase(connection);
}

}  // namespace papanel
