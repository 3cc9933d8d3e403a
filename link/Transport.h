// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

#include "../include/common/RecordList.h"
#include "../sdk/KeyValueMap.h"
#include "../sdk/QXReceiver.h"
#include "../sdk/operations.h"
#include "../sdk/recordKinds.h"

/// @file
/// The interface of every connection to a server.

namespace palink {

/// The connection is made. The caches are emptied before any later event is handled.
struct Connected {
    int localDstNo = 0;      ///< destination number of the directly connected server
    int activeDstNo = 0;     ///< destination number of the active audio server, 0 for none
    bool indirect = false;   ///< the active server is reached through the local one
    KeyValueMap serverInfo;  ///< the server's description of itself, for example "name"
};

/// The connection is lost; the caches keep their state.
struct Disconnected {
    std::string reason;  ///< for people
};

/// A resource was added or changed.
struct Record {
    int dstNo = 0;  ///< destination number of the server that reports it
    pa::RecordKind kind = pa::RecordKind::Source;  ///< never `Any`
    int key = 0;                                   ///< number of the record, not 0
    pa::RecordFields fields;                       ///< docs/link-protocol.md has their meaning
};

/// Resources were removed.
struct Withdrawal {
    int dstNo = 0;                              ///< 0 for any server
    pa::RecordKind kind = pa::RecordKind::Any;  ///< `Any` for all but those of text-to-speech
    int key = 0;                                ///< 0 for every key
};

/// The server refuses an operation.
struct Refusal {
    pa::OperationType operation;  ///< that is refused
    std::string requestId;        ///< empty when the operation has none, or it could not be read
    std::string reason;           ///< for people
};

/// A reading of the level meter of an amplifier element. Delivered several times a second while its
/// feed is subscribed.
struct LevelReading {
    int element = 0;     ///< of an amplifier
    double level = 0.0;  ///< dB
};

/// Everything that the server holds has been reported.
struct InitialSetComplete {};

/// A round trip to the server has come back: everything that the server has reported before it
/// received the request, and because of the operations that it received before, has been delivered.
struct RoundTripComplete {
    std::uint64_t number = 0;  ///< of the request, or of a later one
};

/// What a transport delivers.
using ServerEvent = std::variant<Connected, Disconnected, Record, Withdrawal, Refusal, LevelReading,
                                 InitialSetComplete, RoundTripComplete>;

/// Takes the events of a server, one at a time, in their order.
class ServerEventSink {
public:
    virtual ~ServerEventSink() = default;

    /// May block until earlier events have been handled.
    virtual void deliver(ServerEvent event) = 0;

    /// @name What is delivered between these has arrived from the server at `arrivedUS`, by
    /// `pa::monotonicUS`, or shortly after
    /// A transport that calls them has its records measured: on the thread that delivers.
    /// @{
    virtual void beginBatch(std::int64_t /*arrivedUS*/) {}  ///< before the first event
    virtual void endBatch() {}                              ///< after the last event
    /// @}
};

/// The outcome of an upload.
struct UploadResult {
    bool stored = false;  ///< whether the server has the file
    std::string reason;   ///< why it was not stored
};

/// A connection to a server. It knows no controller.
///
/// `start` and `stop` are called by one thread; the other functions by any.
class Transport {
public:
    virtual ~Transport() = default;

    /// Begins to connect, and delivers the server's events, on threads of its own. It connects
    /// again by itself after a loss.
    virtual void start(ServerEventSink& sink) = 0;

    /// Ends the connection, and uploads that wait for the server. When this returns nothing more is
    /// delivered. Does nothing when it is stopped.
    virtual void stop() = 0;

    /// Takes an operation without blocking on the network.
    /// @return false when the link is down
    /// @throws std::exception for an operation that can never be sent: it is dropped, with the
    ///         exception's text
    virtual bool send(const pa::Operation& operation) = 0;

    /// Starts or stops the level-meter feed of an amplifier element. Called with locks of the
    /// controller held: blocks neither on the network nor on the server. Without a connection
    /// nothing is sent; a feed ends with its connection.
    virtual void meterLevel(bool subscribe, int element) = 0;

    /// Sends a request after the operations that were sent so far, which the server answers after
    /// everything that it has to report by then: `RoundTripComplete` is delivered, with this number
    /// or that of a later request, which is higher. Does not block. A connection that is lost
    /// meanwhile delivers none.
    /// @return false when the link is down
    virtual bool requestRoundTrip(std::uint64_t number) = 0;

    /// How many events wait to be delivered, or are being delivered.
    [[nodiscard]] virtual std::size_t eventsWaiting() const { return 0; }

    /// Sends a file of this device and waits for the result.
    virtual UploadResult upload(const std::string& localPath, const std::string& serverPath) = 0;
};

}  // namespace palink
