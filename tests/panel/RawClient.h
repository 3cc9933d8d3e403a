// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>

#include "util/Descriptor.h"

/// A connection that sends what a test wants.
class RawClient {
public:
    explicit RawClient(int port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval limit{20, 0};  // of a test that fails
        setsockopt(socket_.number(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        EXPECT_EQ(connect(socket_.number(), reinterpret_cast<sockaddr*>(&address), sizeof(address)),
                  0);
    }

    void send(const std::string& text) const {
        ::send(socket_.number(), text.data(), text.size(), MSG_NOSIGNAL);
    }

    /// Receives until the text has come or the server ends the connection.
    std::string receive(const std::string& until = "") const {
        std::string text;
        char bytes[4096];
        while (until.empty() || text.find(until) == std::string::npos) {
            const ssize_t count = recv(socket_.number(), bytes, sizeof(bytes), 0);
            if (count <= 0) {
                break;
            }
            text.append(bytes, static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    const pautil::Descriptor socket_;
};
