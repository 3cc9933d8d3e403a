// SPDX-License-Identifier: Apache-2.0
#include "panel/http/Channel.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <openssl/err.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace papanel {

namespace {

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& reason) {
    throw std::runtime_error(file.string() + " cannot be used: " + reason);
}

/// @param expected what the file is to be, as a statement
/// @throws std::runtime_error when OpenSSL has not taken the file
void check(bool isTaken, const std::filesystem::path& file, const std::string& expected) {
    if (!isTaken && access(file.c_str(), R_OK) != 0) {
        refuse(file, std::generic_category().message(errno));
    }
    if (!isTaken) {
        const char* const reason = ERR_reason_error_string(ERR_get_error());
        refuse(file, expected + (reason != nullptr ? std::string(" (") + reason + ')' : ""));
    }
}

/// What the system or OpenSSL takes in one call.
int limited(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

}  // namespace

TlsContext makeTlsContext(const std::filesystem::path& certificate,
                          const std::filesystem::path& key) {
    TlsContext context(nullptr, SSL_CTX_free);
    if (certificate.empty()) {
        return context;
    }
    context.reset(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(context.get(), "ECDHE+AESGCM:ECDHE+CHACHA20");  // of TLS 1.2
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_CIPHER_SERVER_PREFERENCE);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_RELEASE_BUFFERS |
                                        SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    // Never asks for one at a terminal.
    SSL_CTX_set_default_passwd_cb(context.get(), [](char*, int, int, void*) { return 0; });
    check(SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) == 1, certificate,
          "a certificate in PEM is expected");
    check(SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM) == 1, key,
          "the key of the certificate is expected, in PEM and without a password");
    return context;
}

Channel::Channel(int socket, SSL_CTX* tls)
    : socket_(socket), ssl_(tls != nullptr ? SSL_new(tls) : nullptr, SSL_free) {
    if (tls != nullptr && ssl_ == nullptr) {
        throw std::bad_alloc();
    }
    if (ssl_ != nullptr) {
        SSL_set_fd(ssl_.get(), socket);
        SSL_set_accept_state(ssl_.get());
    }
}

bool Channel::shakeHands(Deadline deadline) {
    return ssl_ == nullptr ||
           attempt([this] { return SSL_do_handshake(ssl_.get()); }, POLLIN, deadline) > 0;
}

std::size_t Channel::read(char* data, std::size_t size, Deadline deadline) {
    const auto receive = [this, data, size] {
        return ssl_ != nullptr ? SSL_read(ssl_.get(), data, limited(size))
                               : static_cast<int>(recv(socket_.number(), data, size, 0));
    };
    return static_cast<std::size_t>(std::max(attempt(receive, POLLIN, deadline), 0));
}

bool Channel::write(const char* data, std::size_t size, Deadline deadline) {
    while (size > 0) {
        const auto transmit = [this, data, size] {
            return ssl_ != nullptr ? SSL_write(ssl_.get(), data, limited(size))
                                   : static_cast<int>(send(socket_.number(), data,
                                                           static_cast<std::size_t>(limited(size)),
                                                           MSG_NOSIGNAL));
        };
        const int count = attempt(transmit, POLLOUT, deadline);
        if (count <= 0) {
            return false;
        }
        data += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

bool Channel::isOpen() const {
    pollfd state = {socket_.number(), POLLRDHUP, 0};
    return poll(&state, 1, 0) == 0;
}

void Channel::shutDown() {
    shutdown(socket_.number(), SHUT_RDWR);
}

void Channel::endWriting() {
    if (ssl_ != nullptr && SSL_is_init_finished(ssl_.get()) != 0) {
        ERR_clear_error();
        SSL_shutdown(ssl_.get());
    }
    shutdown(socket_.number(), SHUT_WR);
}

int Channel::attempt(const std::function<int()>& action, short events, Deadline deadline) {
    while (true) {
        ERR_clear_error();
        const int result = action();
        if (result > 0) {
            return result;
        }
        short awaited = events;
        if (ssl_ != nullptr) {
            const int error = SSL_get_error(ssl_.get(), result);
            if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) {
                return 0;
            }
            awaited = error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        } else if (result == 0 || (errno != EAGAIN && errno != EINTR)) {
            return 0;
        }
        if (!await(awaited, deadline)) {
            return 0;
        }
    }
}

bool Channel::await(short events, Deadline deadline) const {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd state = {socket_.number(), events, 0};
        const int ready = poll(&state, 1, limited(static_cast<std::size_t>(left.count())));
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

}  // namespace papanel
