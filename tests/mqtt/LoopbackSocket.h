// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "link/mqtt/BrokerOptions.h"

/// Something on a free port of the loopback that is no broker.
class LoopbackSocket {
public:
    explicit LoopbackSocket(int backlog)
        : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        bind(descriptor_, generic(), sizeof(address_));
        listen(descriptor_, backlog);
        socklen_t size = sizeof(address_);
        getsockname(descriptor_, generic(), &size);
    }
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;
    ~LoopbackSocket() { close(descriptor_); }

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
