#pragma once

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "link/mqtt/BrokerOptions.h"

/// Something on a free port of the loopback that is no broker.
class Listener {
public:
    explicit Listener(int backlog) : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        bind(descriptor_, generic(), sizeof(address_));
        listen(descriptor_, backlog);
        socklen_t size = sizeof(address_);
        getsockname(descriptor_, generic(), &size);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { close(descriptor_); }

    int port() const { return ntohs(address_.sin_port); }
    palink::BrokerOptions options() const {
        return palink::parseBrokerUrl("mqtt://127.0.0.1:" + std::to_string(port()));
    }
    int descriptor() const { return descriptor_; }

private:
    sockaddr* generic() { return reinterpret_cast<sockaddr*>(&address_); }

    const int descriptor_;
    sockaddr_in address_{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
};

/// Answers each packet of each client by the next of its replies, then ends the connection.
class ScriptedPeer {
public:
    explicit ScriptedPeer(std::vector<std::string> replies) : replies_(std::move(replies)) {}
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;
    ~ScriptedPeer() {
        shutdown(listener_.descriptor(), SHUT_RDWR);
        thread_.join();
    }

    palink::BrokerOptions options() const { return listener_.options(); }

private:
    void run() {
        int client = -1;
        while ((client = accept(listener_.descriptor(), nullptr, nullptr)) >= 0) {
            std::array<char, 1000> packet{};
            for (const std::string& reply : replies_) {
                if (recv(client, packet.data(), packet.size(), 0) <= 0) {
                    break;
                }
                send(client, reply.data(), reply.size(), MSG_NOSIGNAL);
            }
            close(client);
        }
    }

    const std::vector<std::string> replies_;
    Listener listener_{10};
    std::thread thread_{[this] { run(); }};
};
