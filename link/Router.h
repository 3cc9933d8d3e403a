// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "../include/common/RecordList.h"
#include "../sdk/PAController.h"
#include "HandlerSlot.h"
#include "Notifier.h"
#include "Transport.h"

namespace palink {

struct Route;

/// A record of the server has been merged into the caches.
struct HandledRecord {
    pa::RecordKind kind = pa::RecordKind::Source;  ///< of the record
    int key = 0;                                   ///< of the record
};

/// Passes the server's records and withdrawals to the controller, in order of arrival.
///
/// A record is merged when it arrives. For the kinds that pause, sources and schedules, the
/// notification is due 100 ms later and runs on the notifier's thread, in order; for every other
/// kind it follows at once. So every changed record has a notification of its own, and records wait
/// neither for each other's pause nor for a thread.
///
/// The withdrawal of an entry whose notifications wait runs after them, and what arrives later for
/// the same kind and key runs after the withdrawal; its notification is still due 100 ms after its
/// arrival, so that nothing waits for more than 100 ms. A withdrawal of everything, and a reset,
/// wait until no notification is left, and nothing that arrives later is handled meanwhile.
///
/// While the notifier is full (`Notifier::capacity`), because an observer is slow, a record waits
/// as well.
///
/// Every function may be called from any thread but from a callback of an observer; `begin` and
/// `end` by one thread.
class Router {
public:
    /// Receives each record that has been merged.
    using MergeHandler = HandlerSlot<HandledRecord>::Handler;

    /// Connected to nothing: `begin`.
    explicit Router(PAController& controller);

    /// Replaces the function that is called after each merge, on the thread that merges: the one
    /// that calls `handle`, which keeps other events from being handled meanwhile, or the
    /// notifier's. Not called for a source or a schedule that the controller drops, nor when a
    /// handler throws. (The other kinds have handlers that do not say what they leave out, but
    /// notify observers of what they merge.) When this returns no earlier function is running,
    /// unless this is called from inside one.
    void setMergeHandler(MergeHandler handler) { merged_->set(std::move(handler)); }

    /// Merges a record, or has it wait for a withdrawal of its key.
    /// @param arrivedUS for `pausedDurations`, by `monotonicUS`; 0 leaves it out
    /// @return whether its observers have been called; else the notifier does that
    bool handle(Record record, std::int64_t arrivedUS = 0);
    /// Withdraws, after the notifications that wait for it.
    void handle(const Withdrawal& withdrawal);

    /// Empties the controller's caches, at a (re)connection.
    void reset();

    /// Waits until everything that has arrived is handled, or `releaseWaiters` is called.
    void waitUntilIdle();

    /// How long records that pause have taken from their arrival until their observers had been
    /// called.
    [[nodiscard]] pa::Durations pausedDurations() const { return notifier_.durations(); }

    /// Ends every wait for an observer, until `begin`: records are added to a full notifier, a
    /// withdrawal of everything and a reset that would have to wait are left out. For a link that
    /// stops.
    void releaseWaiters();

    /// Ends: notifications that wait have `limit` to run, the others are dropped and reported. One
    /// that is running continues.
    void end(std::chrono::milliseconds limit);

    /// Takes records again after `end`.
    void begin();

private:
    void handleWithPause(const Route& route, int key, pa::RecordFields fields,
                         std::int64_t arrivedUS);

    PAController& controller_;
    std::mutex arrival_;   // held while an event is handled or added to the notifier
    pa::RecordList list_;  // the record that is handled; guarded by arrival_
    const std::shared_ptr<HandlerSlot<HandledRecord>> merged_;  // shared with the steps
    Notifier notifier_;
};

}  // namespace palink
