// SPDX-License-Identifier: Apache-2.0
#include "metrics/MetricsEndpoint.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <httplib.h>
#include <list>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <utility>
#include <vector>

#include "framework/clock.h"
#include "framework/eventDescriptor.h"
#include "metrics/Exposition.h"
#include "metrics/ListenAddress.h"
#include "util/Descriptor.h"

namespace pametrics {

namespace {

constexpr std::size_t maxHead = 8192;

/// Of httplib's server the socket that listens.
class Listener : public httplib::Server {
public:
    /// @throws std::runtime_error
    explicit Listener(const std::string& where) {
        set_socket_options([](int socket) {  // the library's own share the port with others
            const int isOn = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &isOn, sizeof isOn);
        });
        if (const auto address = readListenAddress(where)) {
            port_ = address->port == 0                           ? bind_to_any_port(address->host)
                    : bind_to_port(address->host, address->port) ? address->port
                                                                 : 0;
        }
        if (port_ <= 0 || fcntl(svr_sock_, F_SETFL, O_NONBLOCK) != 0 ||
            ::listen(svr_sock_, static_cast<int>(MetricsEndpoint::mostClients)) != 0) {
            throw std::runtime_error("the metrics cannot be served at '" + where +
                                     "': an address and a port that is free are expected");
        }
    }
    ~Listener() override { close(svr_sock_); }

    [[nodiscard]] int port() const { return port_; }
    [[nodiscard]] int socket() const { return svr_sock_; }

private:
    int port_ = 0;
};

/// A client: its request until the end of the head, then what is left of the answer.
struct Client {
    Client(int accepted, std::int64_t untilMS) : socket(accepted), deadlineMS(untilMS) {}

    const pautil::Descriptor socket;
    const std::int64_t deadlineMS;
    std::string head{};
    std::string answer{};  // empty until the head has arrived
    std::size_t sent = 0;
};

std::string answerOf(const char* status, const std::string& body, const char* type,
                     bool isBodyless) {
    return std::string("HTTP/1.1 ") + status + "\r\nContent-Type: " + type +
           "\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nX-Content-Type-Options: nosniff\r\nConnection: close\r\n\r\n" +
           (isBodyless ? "" : body);
}

}  // namespace

/// Of the endpoint's thread, but for `stop`.
class MetricsEndpoint::Server {
public:
    Server(const std::string& address, std::function<std::string()> text,
           std::function<bool()> isHealthy)
        : listener_(address), text_(std::move(text)), isHealthy_(std::move(isHealthy)) {
        if (!stop_.isOpen()) {
            throw std::runtime_error("the metrics cannot be served: " +
                                     pautil::lastError().message());
        }
    }

    [[nodiscard]] int port() const { return listener_.port(); }

    void stop() const { eventfd_write(stop_.number(), 1); }

    void run() {
        constexpr int longestWaitMS = 100;  // for what takes too long
        while (true) {
            const bool hasPause = std::exchange(isOutOfDescriptors_, false);
            const short accepted = hasPause ? 0 : POLLIN;
            std::vector<pollfd> waited{{stop_.number(), POLLIN, 0},
                                       {listener_.socket(), accepted, 0}};
            for (const Client& client : clients_) {
                const short wanted = client.answer.empty() || isSent(client) ? POLLIN : POLLOUT;
                waited.push_back({client.socket.number(), wanted, 0});
            }
            poll(waited.data(), waited.size(), clients_.empty() && !hasPause ? -1 : longestWaitMS);
            if (waited[0].revents != 0) {
                return;
            }
            const std::int64_t nowMS = pa::monotonicMS();
            auto isReady = waited.begin() + 2;
            for (auto client = clients_.begin(); client != clients_.end(); ++isReady) {
                const bool stays =
                    nowMS < client->deadlineMS && (isReady->revents == 0 || proceed(*client));
                client = stays ? std::next(client) : clients_.erase(client);
            }
            if (waited[1].revents != 0) {
                accept(nowMS);
            }
        }
    }

private:
    static bool isSent(const Client& client) { return client.sent == client.answer.size(); }

    void accept(std::int64_t nowMS) {
        const int socket =
            accept4(listener_.socket(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket < 0) {
            isOutOfDescriptors_ = errno == EMFILE || errno == ENFILE;
            return;
        }
        if (clients_.size() == mostClients) {
            clients_.pop_front();
        }
        clients_.emplace_back(socket, nowMS + limitMS);
    }

    /// @return whether there is more to do
    bool proceed(Client& client) {
        if (client.answer.empty() && !readHead(client)) {
            return false;
        }
        if (client.answer.empty()) {
            return true;
        }
        if (isSent(client)) {
            return drain(client);
        }
        const ssize_t sent = send(client.socket.number(), client.answer.data() + client.sent,
                                  client.answer.size() - client.sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        client.sent += sent > 0 ? static_cast<std::size_t>(sent) : 0;
        if (isSent(client)) {
            shutdown(client.socket.number(), SHUT_WR);
        }
        return sent > 0 || errno == EAGAIN;
    }

    /// @return false when the client has left
    bool readHead(Client& client) {
        std::array<char, 2048> piece{};
        const ssize_t size = recv(client.socket.number(), piece.data(), piece.size(), MSG_DONTWAIT);
        if (size <= 0) {
            return size < 0 && errno == EAGAIN;
        }
        client.head.append(piece.data(), static_cast<std::size_t>(size));
        if (client.head.size() > maxHead) {
            client.answer = answerOf("431 Request Header Fields Too Large", "", plain, false);
        } else if (client.head.find("\r\n\r\n") != std::string::npos) {
            client.answer = answerTo(client.head);
        }
        return true;
    }

    /// Reads what follows the request, a body, until the client has left: to close the socket
    /// before would take the answer from it.
    static bool drain(const Client& client) {
        std::array<char, 2048> piece{};
        const ssize_t size = recv(client.socket.number(), piece.data(), piece.size(), MSG_DONTWAIT);
        return size > 0 || (size < 0 && errno == EAGAIN);
    }

    [[nodiscard]] std::string answerTo(const std::string& head) const try {
        const std::string line = head.substr(0, head.find("\r\n"));
        const std::size_t path = line.find(' ') + 1;
        const std::string method = line.substr(0, path == 0 ? 0 : path - 1);
        const std::string target = line.substr(path, line.find_first_of(" ?", path) - path);
        const bool isHead = method == "HEAD";
        if (method != "GET" && !isHead) {
            return answerOf("405 Method Not Allowed\r\nAllow: GET, HEAD", "", plain, false);
        }
        if (target == "/metrics") {
            return answerOf("200 OK", text_(), Exposition::contentType, isHead);
        }
        if (target == "/healthz") {
            return isHealthy_() ? answerOf("200 OK", "ok\n", plain, isHead)
                                : answerOf("503 Service Unavailable", "not ready\n", plain, isHead);
        }
        return answerOf("404 Not Found", "", plain, false);
    } catch (const std::exception&) {
        return answerOf("500 Internal Server Error", "", plain, false);
    }

    static constexpr const char* plain = "text/plain; charset=utf-8";

    Listener listener_;
    const std::function<std::string()> text_;
    const std::function<bool()> isHealthy_;
    const pautil::Descriptor stop_{pa::newEventDescriptor(0)};
    std::list<Client> clients_;  // those that came first, first
    bool isOutOfDescriptors_ = false;
};

MetricsEndpoint::MetricsEndpoint(const std::string& address, std::function<std::string()> text,
                                 std::function<bool()> isHealthy)
    : server_(std::make_unique<Server>(address, std::move(text), std::move(isHealthy))),
      thread_("metrics", [this] { server_->run(); }) {}

MetricsEndpoint::~MetricsEndpoint() {
    server_->stop();
}

int MetricsEndpoint::port() const {
    return server_->port();
}

}  // namespace pametrics
