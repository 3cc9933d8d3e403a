// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "simserver/protocol/Refused.h"
#include "simserver/station/Station.h"

namespace simserver {

/// What the server ignores of its client's operations, as if they were lost on the way.
struct IgnoredOperations {
    bool renewals = false;  ///< extensions of source locks
    bool requests = false;  ///< every operation, and the subscription of level meters
};

/// What the server can play, of which it sends no records.
struct Contents {
    std::vector<DictionaryItem> dictionary;  ///< with the chimes
    std::vector<Recording> recordings;       ///< its own, uploads and user recordings
};

/// What can be asked of a simulated server beside what its client asks of it: events of the
/// station, of other clients and of the connection.
///
/// Every function may be called from any thread, but not from a callback of an observer: the server
/// waits while the client's queue is full. A function returns when the server has done what is
/// asked; the client learns of the effects by its records, afterwards.
///
/// A function that cannot reach its server throws std::runtime_error; then the outcome is unknown.
class SimControl {
public:
    virtual ~SimControl() = default;

    /// Closes or opens the contact of a hardware trigger.
    /// @throws Refused when there is no such trigger
    virtual void setTrigger(int triggerId, bool active) = 0;

    /// Puts a selector into a state.
    /// @param state number in its records: 0 unknown, 1 inactive, 2 active, 3 disabled
    /// @throws Refused when there is no such selector or state
    virtual void setSelector(int selectorId, int state) = 0;

    /// Takes, or extends, the lock of a source as another client.
    /// @param client UUID of that client: letters, digits, "-", "_" and "."; at most 63 of them
    /// @throws Refused when there is no such source, when it is locked by a client other than this,
    ///         and for a malformed UUID
    virtual void lockSource(int sourceId, const std::string& client) = 0;

    /// Releases the lock of a source as the client that holds it.
    /// @throws Refused when there is no such source, and when this client does not hold its lock
    virtual void unlockSource(int sourceId, const std::string& client) = 0;

    /// While on, extensions of source locks are ignored, so that the locks lapse.
    virtual void ignoreRenewals(bool on) = 0;

    /// While on, whatever the client asks is ignored: nothing is done, nothing is answered.
    virtual void ignoreRequests(bool on) = 0;

    /// What is ignored now.
    virtual IgnoredOperations ignored() const = 0;

    /// What the server can play now.
    virtual Contents contents() const = 0;

    /// Drops the client's connection. Nothing happens without one.
    virtual void dropClient() = 0;

    /// Ends the server and starts it again, as a new process with the same options: the client's
    /// connection is dropped, and of the server's state only what its state folder keeps is left.
    /// Simulated time begins again.
    /// @throws std::runtime_error when the server cannot start again, with the reason; then there
    ///         is none until a later call succeeds
    virtual void restart() = 0;
};

}  // namespace simserver
