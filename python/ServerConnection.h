// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <shared_mutex>

#include "client/Connection.h"
#include "framework/fork.h"
#include "paserver/ServerChoice.h"
#include "python/waiting.h"

namespace papython {

/// A way to a server and the connection over it, until it is closed. Every function may be called
/// from any thread of Python.
class ServerConnection {
public:
    explicit ServerConnection(const paserver::ServerChoice& choice);
    ~ServerConnection() { close(); }

    /// Calls a function with the connection, which is not closed meanwhile.
    /// @throws NotConnected when it is closed, also by `wait.whileWaiting`
    template <class Call>
    auto use(const Timeout& timeout, Call call) {
        return waiting(timeout, [&](paclient::Wait wait) {
            const std::shared_lock guard(lock_);
            requireOpen();
            wait.whileWaiting = [this, interrupt = wait.whileWaiting](auto waited) {
                requireOpen();
                interrupt(waited);
            };
            return call(way_->connection, wait);
        });
    }

    /// In a child of fork() the parent's connection is left as it is.
    void close();

    /// Whether it belongs to this process and is not closed.
    bool isOpen() const;

private:
    struct Way {
        const std::unique_ptr<paclient::Endpoint> endpoint;
        paclient::Connection connection{*endpoint};
    };

    /// @throws NotConnected
    void requireOpen() const;

    const unsigned process_ = pa::forkGeneration();
    std::atomic<bool> isClosing_{false};
    std::shared_mutex lock_;    // held exclusively while the way ends
    std::unique_ptr<Way> way_;  // null when it is closed
};

/// For operations, which would else wait for a connection that does not come.
/// @throws NotConnected when this process has no connection that is open
void requireConnection();

}  // namespace papython
