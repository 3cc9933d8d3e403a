#pragma once

#include <mutex>

#include "link/LanePool.h"
#include "link/Transport.h"
#include "sdk/PAController.h"

namespace palink {

/// Brings what the server says to the controller's handlers, in order of arrival.
///
/// The handlers that pause run side by side on a pool: they merge in order of arrival, and what
/// concerns the same kind and key runs one after the other, withdrawals included. Every other kind
/// is handled at once. A withdrawal of everything, and a reset, wait until the pool is empty, and
/// nothing that arrives later is handled meanwhile.
///
/// Every function may be called from any thread but from a callback of an observer.
class Router {
public:
    explicit Router(PAController& controller);

    void handle(Record record);
    void handle(const Withdrawal& withdrawal);

    /// Empties the controller's caches, at a (re)connection.
    void reset();

    /// Waits until everything that has arrived is handled.
    void waitUntilIdle();

private:
    void withdraw(const Withdrawal& withdrawal);

    PAController& controller_;
    std::mutex arrival_;  // held while something that has arrived is handled or handed to the pool
    LanePool pool_;
};

}  // namespace palink
