// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "client/ChangeStream.h"
#include "client/Wait.h"
#include "panel/http/Route.h"

namespace papanel {

class AuditTrail;

/// Which session has taken which source. To the audio server all pages are one client, which holds
/// the locks; this class keeps the sessions from each other.
///
/// The lock of a session is released when it ends, and when it has had no open page for a while, so
/// that a page that is reloaded keeps it. A lock that is lost at the server is forgotten.
///
/// Every function may be called from any thread but from a callback.
class LockKeeper {
public:
    /// How long a session without a page keeps its locks.
    static constexpr std::chrono::seconds patience{30};

    /// Who has taken a source.
    struct Holder {
        std::string sessionId;
        std::string user;
        std::string page;  ///< of the request; may be empty
    };

    /// @param audit has the releases that no page has asked for
    explicit LockKeeper(AuditTrail& audit);

    /// Takes the lock of a source for the caller's session.
    /// @throws ApiError held, when another session or client has it; else as `paclient::takeLock`
    paclient::Confirmation take(int sourceId, const Caller& caller, const paclient::Wait& wait);

    /// Releases it.
    /// @throws ApiError held, when another session or client has it; else as
    ///         `paclient::releaseLock`
    paclient::Confirmation release(int sourceId, const Caller& caller, const paclient::Wait& wait);

    /// @throws ApiError held, when another session has taken the source
    void requireFree(int sourceId, const Caller& caller) const;

    /// Nothing for a source that no session has taken. May be called from a callback.
    [[nodiscard]] std::optional<Holder> holderOf(int sourceId) const;

    /// @name Called by what keeps pages and sessions
    /// @{
    /// A page of a session has opened a stream of events.
    void pageOpened(const std::string& sessionId);
    /// It has closed the stream, or has lost it.
    void pageClosed(const std::string& sessionId);
    /// The session is over, by a logout or in the course of time. Its locks are released by the
    /// next call of `releaseDue`.
    void sessionEnded(const std::string& sessionId);
    /// Has the server release what is due, with a row in the audit trail: also without one when it
    /// cannot be written, as a microphone must not stay open. To be called about once a second by
    /// one thread, while connected; waits for nothing.
    void releaseDue();
    /// Releases all at the end of the gateway, after the last `releaseDue`; waits at most `limit`
    /// for each, and ends at the first one that is not released.
    void releaseAll(std::chrono::milliseconds limit);
    /// @}

private:
    /// How many pages a session has.
    struct Pages {
        int open = 0;
        std::int64_t awaySinceMS = 0;  ///< when the last one closed
        bool isOver = false;           ///< the session
    };
    struct Lock : Holder {
        bool isTaken = false;             ///< no longer waits for the server
        std::int64_t releaseAgainMS = 0;  ///< not before
        std::uint64_t number = 0;         ///< of this taking
    };
    /// A lock that the gateway releases by itself.
    struct Due {
        int sourceId = 0;
        std::uint64_t number = 0;
        std::string user;
        const char* reason = "";
    };
    /// The release of a lock in the audit trail.
    struct Row {
        std::int64_t id;
        Due due;
    };

    void note(const paclient::Change& change);
    void reserve(int sourceId, const Caller& caller);
    void refuseOthers(int sourceId, const Caller& caller, bool isHeld) const;
    std::vector<Due> dueLocks();
    void beginRow(const Due& due);
    void finishRows();
    void finishRow(const Row& row);

    AuditTrail& audit_;
    std::map<int, Row>
        rows_;  // of releases that are not done yet, by source; for `releaseDue` only

    mutable std::mutex lock_;
    // Guarded by lock_.
    std::uint64_t takings_ = 0;
    std::map<int, Lock> locks_;           // by source
    std::map<std::string, Pages> pages_;  // by session, of those with pages or locks

    paclient::Listener listener_;
};

}  // namespace papanel
