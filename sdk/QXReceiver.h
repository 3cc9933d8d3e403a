#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace pa {

/// The class of the operations of PA resources, announcements and schedules.
constexpr int paClass = 92;

/// A request to the server, as it stands in the send queue.
struct Operation {
    int destination = 0;      ///< -1 direct link, -2 indirect link
    int operationClass = 0;   ///< group, for example `paClass`
    int operationNumber = 0;  ///< operation within its class
    int flag = 0;             ///< always 1
    std::string payload;      ///< the operation's text
};

/// Where the send queue hands its operations: the server link.
class OperationSender {
public:
    virtual ~OperationSender() = default;

    /// Takes one operation. Called on the queue's own thread, one at a time; must not block on the
    /// network.
    /// @return false when the link is down: the operation stays at the head of the queue
    virtual bool sendOperation(const Operation& operation) = 0;
};

}  // namespace pa

/// The send queue of the server link: bounded, first in first out, one for the process.
///
/// Every function may be called from any thread, with the controller's mutex held. While no sender
/// is connected operations wait; one that has waited too long, or finds the queue full, is dropped
/// and reported through `handleError` with its class, number and age.
class QXReceiver {
public:
    /// The most operations that wait.
    static constexpr std::size_t capacity = 1000;

    /// Queues an operation and returns at once.
    void addOperationToSendQueue(int destination, int operationClass, int operationNumber, int flag,
                                 const std::string& payload);

    /// Has the waiting operations and all later ones handed to `sender`, in order.
    void connect(pa::OperationSender& sender);

    /// The link is down. When this returns no sender is in use any more. Not to be called from
    /// `sendOperation`.
    void disconnect();

    /// How long an operation may wait for the link; 5 s when this is never called.
    void setMaxWait(std::chrono::milliseconds wait);
};
