// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>

#include "../framework/api.h"
#include "../link/ServerLink.h"
#include "../sdk/AudioServer.h"
#include "../sdk/KeyValueMap.h"
#include "ChangeStream.h"
#include "Endpoint.h"
#include "Wait.h"

namespace paclient {

/// There is no connection, or it is not back in time.
class PA_API NotConnected : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The process's facade for `gPaController`, made by the first call, with `gDeviceIPAddress` set to
/// the loopback address when it is empty. Never destroyed: the controller uses it for as long as
/// the process lives.
PA_API AudioServer& audioServer();

/// The connection of this process to an audio server: an endpoint, the link to it and the change
/// stream. One at a time.
///
///     simserver::EmbeddedEndpoint endpoint(scenario, options);
///     paclient::Connection connection(endpoint);
///     connection.open({std::chrono::seconds(5)});
///
/// A connection that is lost is made again by the transport, without end. The caches keep their
/// state until it is there again, then they are emptied and filled with what the server holds: the
/// stream reports each step (`palink::ConnectionChange`), the deletion of everything and the update
/// of everything. Operations that are queued meanwhile wait for a few seconds
/// (`QXReceiver::setMaxWait`) and are then dropped, which the stream reports.
///
/// The source locks that this client held are renewed at once when the server still holds them for
/// it, and reported (`LockChange`) when it does not. None is taken again: a source that is locked
/// and has zones is audible, which the operator decides.
///
/// `open` and the destructor belong to one thread; every other function may be called from any
/// thread but from a callback.
class PA_API Connection {
public:
    /// Connects to nothing yet.
    /// @param endpoint must outlive the connection
    explicit Connection(Endpoint& endpoint);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    /// Connects, and waits until everything that the server holds is in the caches.
    /// @throws NotConnected     when that takes longer than the limit; it continues to connect
    /// @throws std::logic_error when the process has another connection that is open
    /// @throws std::exception   when the transport cannot start
    /// @throws whatever `wait.whileWaiting` throws; it continues to connect
    void open(const Wait& wait = {});

    /// Whether the caches hold everything that the server holds.
    [[nodiscard]] bool isSynced() const;

    /// The number of the connection, counted from 1; it is another one after each reconnection. 0
    /// while the link is down or the caches are not synced.
    [[nodiscard]] std::uint64_t number() const;

    /// For how long the connection has been away, by the host's monotonic clock; 0 when it is there
    /// and synced.
    [[nodiscard]] std::chrono::milliseconds awayFor() const;

    /// Why the last connection was lost; may be empty.
    [[nodiscard]] std::string lossReason() const;

    /// Waits while the connection is away.
    /// @throws NotConnected when it is not back, and synced, within the limit
    /// @throws whatever `wait.whileWaiting` throws
    void requireConnected(const Wait& wait = {});

    /// Waits until everything that the server has reported, and what it reports because of the
    /// operations that it has received so far, has reached the caches and the subscribers: a round
    /// trip to the server.
    /// @throws NotConnected when the connection is lost or the limit passes meanwhile
    /// @throws whatever `wait.whileWaiting` throws
    void waitUntilDelivered(const Wait& wait = {});

    /// What the server reports of itself.
    [[nodiscard]] KeyValueMap serverInfo() const;

    /// The sources whose lock this client holds.
    [[nodiscard]] static std::set<int> heldSources();

    /// The endpoint that it was made with.
    Endpoint& endpoint() { return endpoint_; }
    /// The link. Its handlers belong to the connection.
    palink::ServerLink& link() { return link_; }

private:
    void changed(const palink::ConnectionChange& change);
    void handled(const palink::HandledRecord& record);
    void setNumber(std::uint64_t number, const std::string& reason);

    Endpoint& endpoint_;
    palink::ServerLink link_;

    mutable std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::uint64_t number_ = 0;  // of the connection that is synced, else 0
    std::int64_t awaySinceMS_ = 0;
    std::string reason_;  // of the last loss
};

}  // namespace paclient
