// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "../framework/api.h"
#include "Change.h"
#include "Wait.h"

namespace paclient {

/// Every change of the controller and of the link, for any number of subscribers.
///
/// The controller's observers are never removed, so one of them lives as long as the process and
/// notifies this stream. An application makes a `Subscription`, which it reads on a thread of its
/// own or in its main loop, or a `Listener`, which is called; both end with the object. They may be
/// made and destroyed at any time by any thread, also inside a callback of an observer, of a
/// handler of the link or of a listener.
///
/// Changes come in the order in which the controller and the link notify; those of one kind and key
/// are never out of order. A change that several subscribers want is stored once.
///
/// Every function may be called from any thread. No lock is held while a listener runs.
class PA_API ChangeStream {
public:
    /// The stream of `gPaController`. The first call registers the observer. Never destroyed.
    static ChangeStream& instance();
    ChangeStream(const ChangeStream&) = delete;
    ChangeStream& operator=(const ChangeStream&) = delete;

    /// Notifies every subscriber. For the controller's observer and for `Connection`, which joins
    /// the handlers of a link to the stream.
    void publish(Change change);

    /// Whether the controller's caches are incomplete, because the connection was lost or is not
    /// synced yet. A subscriber that was made before receives what changes that.
    [[nodiscard]] bool isAway() const;

    /// Publishes a `LockChange` for each source whose lock has another holder than at the call
    /// before. For `Connection`, and only while everything that the server holds is known.
    void compareLocks();

    /// Forgets the holders of the locks: what comes next is of another server. For `Connection`.
    void forgetLocks();

private:
    friend class Subscription;
    friend class Listener;
    struct State;

    ChangeStream();

    State& state_;  // never destroyed
};

/// A subscriber with a queue of its own.
///
/// The queue is bounded by an estimate of the memory that its changes take. When it is full, what
/// comes is dropped and counted until the subscriber has read what waits; then it reads a `Lost`
/// with their number, and from there on every change again.
///
/// Every function may be called from any thread; a change is read once.
class PA_API Subscription {
public:
    /// How much may wait, by default: about 100,000 changes.
    static constexpr std::size_t defaultMaxBytes = std::size_t{64} << 20U;

    /// Subscribes: reads what is published from now on.
    /// @param wanted   which changes; a `Lost` is always read
    /// @param maxBytes how much may wait
    /// @throws std::system_error when the system has no file descriptor left
    explicit Subscription(ChangeKinds wanted = allKinds(), std::size_t maxBytes = defaultMaxBytes);
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription();

    /// The oldest change, null when none waits.
    ChangePtr next();

    /// The oldest change; waits for one.
    /// @return null when none has come within the limit of `wait`
    /// @throws whatever `wait.whileWaiting` throws; no change is lost by that
    ChangePtr next(const Wait& wait);

    /// The oldest change; waits at most `limit` of real time for one.
    ChangePtr next(std::chrono::milliseconds limit);

    /// How many changes wait.
    [[nodiscard]] std::size_t waiting() const;

    /// A file descriptor that is readable while changes wait, for an application's main loop (poll,
    /// epoll). It belongs to the subscription: do not read or close it.
    [[nodiscard]] int fileDescriptor() const;

private:
    friend class ChangeStream;
    struct Queue;

    std::shared_ptr<Queue> queue_;
};

/// A function that is called with every change, on the thread that publishes it: a thread of the
/// link, or that of the application which deletes entries. It may run with the controller's mutex
/// held, so it must not block, wait for an answer of the server, or take a lock that is held by a
/// thread which calls the controller. An exception that leaves it is reported.
class PA_API Listener {
public:
    /// What is called with each change.
    using Function = std::function<void(const ChangePtr& change)>;

    /// Subscribes: the function is called with what is published from now on.
    Listener(ChangeKinds wanted, Function function);
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    /// Ends. When this returns the function is not running any more, unless this is called from
    /// inside it. So it must not be called with a lock that the function takes, nor, on another
    /// thread than the function's, with the controller's mutex held; and two functions must not end
    /// each other's listeners.
    ~Listener();

private:
    friend class ChangeStream;
    struct Entry;

    std::shared_ptr<Entry> entry_;
};

}  // namespace paclient
