// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "../framework/api.h"
#include "DroppedOperation.h"
#include "operations.h"

namespace pa {

/// A request to the server, as the send queue holds it.
struct Operation {
    int destination = 0;  ///< -1 direct link, -2 indirect link
    OperationType type;   ///< class and number
    int flag = 0;         ///< always 1
    std::string payload;  ///< the operation's text
};

/// Takes the operations of the send queue: the server link.
class OperationSender {
public:
    virtual ~OperationSender() = default;

    /// Takes one operation. Called on the queue's own thread, one at a time; must not block on the
    /// network. An exception that leaves it has the operation dropped and reported.
    /// @return false when the link is down: the operation stays at the head of the queue
    virtual bool sendOperation(const Operation& operation) = 0;
};

/// Notified of every operation that the send queue drops: the server link.
class DropListener {
public:
    virtual ~DropListener() = default;

    /// Called on the queue's own thread, one at a time, without a lock. Must not throw.
    virtual void operationDropped(const pa::DroppedOperation& dropped) = 0;
};

}  // namespace pa

/// The send queue of the server link: bounded by memory, first in first out, one for the process.
///
/// Every function may be called from any thread; with the controller's mutex held only
/// `addOperationToSendQueue`, `setMaxWait` and `setMaxBytes`. While no sender is connected
/// operations wait. One that has waited too long, finds the queue full or comes after `close`, and
/// one that the sender throws on, is dropped: reported through `handleError` at level 2, one line
/// each with class, number, request id, age and reason, and passed to the listener. Both happen on
/// the queue's own thread, without a lock. Only a renewal of a source lock that comes after `close`
/// is dropped without a report: the controller sends it by itself.
///
/// Operations that are dropped on an application's thread wait for that in a list of 16 MiB (about
/// 100,000 operations). Those beyond it are counted, and reported as one with their number.
class PA_API QXReceiver {
public:
    /// Default of `setMaxBytes`: 100,000 play operations of 300 bytes count 42.8 MB.
    static constexpr std::size_t defaultMaxBytes = std::size_t{64} << 20U;

    /// Queues an operation and returns at once. It never throws: what cannot be queued is dropped.
    void addOperationToSendQueue(int destination, int operationClass, int operationNumber, int flag,
                                 const std::string& payload);

    /// How long an operation may wait for the link; 5 s when this is never called.
    void setMaxWait(std::chrono::milliseconds wait);

    /// How much may wait: the bytes of the payloads and 128 for each operation.
    void setMaxBytes(std::size_t bytes);

    /// How many operations wait.
    [[nodiscard]] std::size_t waiting() const;

    /// @name For the server link
    /// @{

    /// Takes operations, also after `close`, and notifies `listener` of drops from now on, in place
    /// of any other.
    /// @throws std::system_error when the queue's thread cannot be created
    void open(pa::DropListener& listener);

    /// Has the waiting operations and all later ones handed to `sender`, in order.
    void connect(pa::OperationSender& sender);

    /// The link is down: operations wait. Returns without waiting for one that is
    /// being handed over.
    void pause();

    /// Takes no more operations: later ones are dropped until `open` is called. Waits until those
    /// that wait are sent, but no longer than `limit` (by the host's monotonic clock), and not at
    /// all without a sender. One that refuses is tried again.
    void close(std::chrono::milliseconds limit);

    /// Drops what still waits, after `close`. When this returns each of them has been reported and
    /// passed to the listener, and no sender is in use any more. Not to be called from
    /// `sendOperation`.
    void abandon();

    /// Removes `listener`. When this returns it is not in use any more; not to be called from the
    /// listener.
    void forget(const pa::DropListener& listener);
    /// @}
};
