#pragma once

#include <chrono>
#include <mutex>

#include "link/Notifier.h"
#include "link/Transport.h"
#include "sdk/PAController.h"

namespace palink {

struct Route;

/// Brings what the server says to the controller, in order of arrival.
///
/// A record is merged when it arrives. For the kinds that pause, sources and schedules, the
/// notification is due 100 ms later and runs on the notifier's thread, in order; for every other
/// kind it follows at once. So every changed record has a call of its own, and records wait neither
/// for each other's pause nor for a thread.
///
/// The withdrawal of an entry whose notifications wait runs behind them, and what arrives later for
/// the same kind and key runs behind the withdrawal; its notification is still due 100 ms after its
/// arrival, so that nothing waits for more than 100 ms. A withdrawal of everything, and a reset,
/// wait until no notification is left, and nothing that arrives later is handled meanwhile.
///
/// While more notifications wait than the notifier has room for (`Notifier::capacity`), because an
/// observer takes its time, a record waits as well.
///
/// Every function may be called from any thread but from a callback of an observer; `begin` and
/// `end` by one thread.
class Router {
public:
    explicit Router(PAController& controller);

    void handle(Record record);
    void handle(const Withdrawal& withdrawal);

    /// Empties the controller's caches, at a (re)connection.
    void reset();

    /// Waits until everything that has arrived is handled, or `letGo` is called.
    void waitUntilIdle();

    /// Whatever waits for an observer goes on, until `begin`: records find room, a withdrawal of
    /// everything and a reset that would have to wait are left out. For a link that stops.
    void letGo();

    /// Ends: notifications that wait have `limit` to be told, the others are dropped and reported.
    /// One that is being told goes on.
    void end(std::chrono::milliseconds limit);

    /// Takes records anew after `end`.
    void begin();

private:
    void handleWithPause(const Route& route, int key, pa::RecordFields fields);

    PAController& controller_;
    std::mutex arrival_;  // held while something that has arrived is handled or handed on
    Notifier notifier_;
};

}  // namespace palink
