// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "../framework/api.h"
#include "../framework/durationCounts.h"
#include "../framework/fork.h"
#include "../sdk/AudioServer.h"
#include "../sdk/DroppedOperation.h"
#include "../sdk/PAController.h"
#include "../sdk/QXReceiver.h"
#include "HandlerSlot.h"
#include "Router.h"
#include "Transport.h"

namespace palink {

using pa::DroppedOperation;

/// A change of the connection's state.
struct ConnectionChange {
    /// Where the connection is.
    enum class State {
        Connected,     ///< operations are sent, the caches are empty
        Synced,        ///< everything that the server holds is in the caches
        Disconnected,  ///< operations wait, the caches keep their state
        Stopped        ///< the link was stopped: the last one, until it is started again
    };

    State state = State::Connected;  ///< where the connection is now
    std::uint64_t number = 0;  ///< of the connection, counted from 1 in the life of the link; when
                               ///< stopped that of the last one, 0 when there was none
    std::string reason;        ///< of a disconnection
};

/// How long records have taken from their arrival at this process until all their observers had
/// been called. A record counts with the times of the batch of up to 64 events in which it is
/// delivered: from the arrival of the first to the end of the last record, so never with too short
/// a time.
struct RecordDurations {
    pa::Durations direct;  ///< of all kinds but those that pause
    pa::Durations paused;  ///< of sources and schedules, with the pause of 100 ms
};

/// The client's connection to its audio server: joins a transport to the controller, the send queue
/// and the facade.
///
///     auto& audioServer = *new AudioServer(gPaController);
///     palink::ServerLink link(audioServer, transport);
///     link.start();
///     if (!link.waitUntilReady(std::chrono::seconds(5))) ...
///
/// In the child of a fork() a link that was started before does nothing any more, which a line of
/// level 1 reports; `stop` and the destructor do not use its transport. The child starts a link of
/// its own, with a transport of its own.
///
/// One link of the process may be started at a time. `start` and `stop` are called by one thread;
/// the other functions by any. None but `isConnected` and the setters of handlers may be called
/// from a callback.
///
/// An application sets its handlers before it starts the link. They are called without a lock, that
/// of records with one of the link, and an exception that leaves one is reported. A setter returns
/// when the handlers that it replaces are no longer running, unless it is called from inside one of
/// them. So it must not be called with a lock that the handler takes: from an observer's callback
/// (which holds the controller's mutex) only when the handler does not use the controller.
class PA_API ServerLink final : private ServerEventSink,
                                private pa::OperationSender,
                                private pa::DropListener {
public:
    /// Receives the server's reason for refusing an operation. Called on a thread of the transport.
    using RefusalHandler = HandlerSlot<Refusal>::Handler;

    /// Receives the readings of the level meters. Called on a thread of the transport; must not
    /// block.
    using LevelHandler = HandlerSlot<LevelReading>::Handler;

    /// Receives each operation that does not reach the server, from the start of the link until the
    /// link is destroyed or another one is started. Called on the send queue's thread, which sends
    /// nothing meanwhile. It may request the operation again.
    using DropHandler = HandlerSlot<DroppedOperation>::Handler;

    /// Called once for each change: connected, synced once the initial set is complete,
    /// disconnected, and so on, and at last stopped. Whatever ends a connection, each `Connected`
    /// is followed by one `Disconnected` with its number before any other `Connected` or `Stopped`.
    /// Called on a thread of the transport; for the changes by `stop` on the thread that stops.
    using ConnectionHandler = HandlerSlot<ConnectionChange>::Handler;

    /// Notified of each record that has been merged into the caches, for what no observer is
    /// notified of: the holder of a source's lock, the zones that are attached to a source. Not
    /// called for a source or a schedule that the controller drops, nor after a stop. Called on the
    /// thread that merges, one of the transport or the notifier's; must not block.
    using RecordHandler = HandlerSlot<HandledRecord>::Handler;

    /// Notified of each operation that the transport has taken. Called on the send queue's thread,
    /// which sends nothing meanwhile.
    using SentHandler = HandlerSlot<pa::Operation>::Handler;

    /// @param audioServer the facade of the process, never destroyed: the worker uses it
    /// @param transport   must outlive the link
    ServerLink(AudioServer& audioServer, Transport& transport);
    ServerLink(const ServerLink&) = delete;
    ServerLink& operator=(const ServerLink&) = delete;
    /// Stops, so that handlers may be called.
    ~ServerLink() override;

    /// Sets the process's `gAudioServerInstance` and begins to connect. The application sets
    /// `gDeviceIPAddress` before. A transport may block the caller while its queue is full, so the
    /// caller must hold no lock that an observer takes. Does nothing when the link is started.
    /// @throws std::logic_error when another link of the process is started; nothing has changed
    /// @throws std::exception   when the transport cannot start; the link is stopped
    void start();

    /// Ends the connection; `gAudioServerInstance` stays. From the start of the call operations are
    /// dropped. Those that wait are sent for up to `limit`, as long as the transport is connected;
    /// when this returns each that was left has been dropped and reported, also to the drop
    /// handler. Then waiting notifications of records have `limit` to run; those that are left,
    /// because an observer is slow, are counted and reported. Waits for uploads in progress,
    /// which the stop of the transport ends. Does nothing when the link is stopped.
    void stop(std::chrono::milliseconds limit = std::chrono::seconds(1));

    /// Waits until everything that the server holds is in the caches, and the connection handler
    /// has returned.
    /// @return false when that takes longer than `limit`
    [[nodiscard]] bool waitUntilReady(std::chrono::milliseconds limit);

    /// Waits until every record that has been delivered so far has been handled.
    void waitUntilHandled();

    /// Begins a round trip to the server, after the operations that were handed to the transport so
    /// far.
    /// @return its number; nothing when the link is down
    [[nodiscard]] std::optional<std::uint64_t> beginRoundTrip();

    /// Waits until the round trip is complete: everything that the server has reported until it
    /// received the request is in the caches, and the observers have been notified.
    /// @return false when that takes longer than `limit`, or the connection has been lost meanwhile
    [[nodiscard]] bool waitForRoundTrip(std::uint64_t number, std::chrono::milliseconds limit);

    /// Whether the last change that was passed to the connection handler left the link connected.
    [[nodiscard]] bool isConnected() const;

    /// What a transport that delivers in batches has had measured so far.
    [[nodiscard]] RecordDurations recordDurations() const;

    /// Replaces the handler of refusals; without one they are reported through `handleError`.
    void setRefusalHandler(RefusalHandler handler) { refusalHandler_.set(std::move(handler)); }

    /// Replaces the handler of level readings; without one they are dropped.
    void setLevelHandler(LevelHandler handler) { levelHandler_.set(std::move(handler)); }

    /// Replaces the handler of dropped operations. They are reported through `handleError` as well,
    /// with or without it.
    void setDropHandler(DropHandler handler) { dropHandler_.set(std::move(handler)); }

    /// Replaces the handler of the connection; it is not called with the present state.
    void setConnectionHandler(ConnectionHandler handler) {
        connectionHandler_.set(std::move(handler));
    }

    /// Replaces the handler of operations that have been sent; without one nothing happens.
    void setSentHandler(SentHandler handler) { sentHandler_.set(std::move(handler)); }

    /// Replaces the handler of records that have been merged; without one nothing happens.
    void setRecordHandler(RecordHandler handler) { recordHandler_.set(std::move(handler)); }

private:
    void deliver(ServerEvent event) override;                             // by the transport
    void beginBatch(std::int64_t arrivedUS) override;                     // likewise
    void endBatch() override;                                             // likewise
    bool sendOperation(const pa::Operation& operation) override;          // by the send queue
    void operationDropped(const pa::DroppedOperation& dropped) override;  // by the send queue

    void on(const Connected& connected);
    void on(const Disconnected& disconnected);
    void on(Record record);
    void on(const Withdrawal& withdrawal);
    void on(const Refusal& refusal);
    void on(const LevelReading& reading);
    void on(const InitialSetComplete& complete);
    void on(const RoundTripComplete& complete);
    void measureHandled();
    void end(std::chrono::milliseconds limit);
    void lose(const std::string& reason);
    void change(ConnectionChange::State state, const std::string& reason = {});
    int upload(const std::string& localPath, const std::string& serverPath);

    AudioServer& audioServer_;
    Transport& transport_;
    Router router_;
    const unsigned generation_ = pa::forkGeneration();  // of the process that created it
    HandlerSlot<Refusal> refusalHandler_;
    HandlerSlot<LevelReading> levelHandler_;
    HandlerSlot<DroppedOperation> dropHandler_;
    HandlerSlot<ConnectionChange> connectionHandler_;
    HandlerSlot<HandledRecord> recordHandler_;
    HandlerSlot<pa::Operation> sentHandler_;
    pa::DurationCounts directDurations_;

    // Of the transport's thread that delivers.
    std::int64_t arrivedUS_ = 0;  // of the batch; 0 between batches
    std::uint64_t handled_ = 0;   // records whose observers have been called, not yet measured

    mutable std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    bool connected_ = false;
    bool ready_ = false;
    std::uint64_t connections_ = 0;
    std::uint64_t roundTrips_ = 0;          // begun
    std::uint64_t completedRoundTrip_ = 0;  // the highest number that has come back
    std::thread::id notifying_;             // the thread that calls the connection handler
};

}  // namespace palink
