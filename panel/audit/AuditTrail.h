// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "client/json.h"
#include "util/Database.h"

namespace papanel {

/// What is known of an operation before it is sent. Texts may hold anything: what is not UTF-8, and
/// NUL, is replaced, and long texts are cut.
struct AuditEntry {
    std::string user;
    std::string address;
    std::string operation;  ///< as in the tables of routes
    std::string target;     ///< what it is done to, as the request names it
    std::string request;    ///< made by `auditedRequest`
};

/// An operation as it is kept. Times are ms since 1970 UTC.
struct AuditRow : AuditEntry {
    std::int64_t id = 0;  ///< counted upwards in the order of beginning
    std::int64_t time = 0;
    std::string outcome;  ///< "pending", "unknown", or what `finish` was given
    std::string text;     ///< for people
    std::optional<std::int64_t> finished;
};

/// Which operations; what is not set does not count.
struct AuditFilter {
    std::optional<std::int64_t> from;   ///< begun at this time or after
    std::optional<std::int64_t> until;  ///< begun before this time
    std::optional<std::string> user;    ///< the beginning of the name
    std::optional<std::string> operation;
    std::optional<std::string> outcome;
    std::optional<std::int64_t> before;  ///< with a smaller id
};

/// Who asked for what, when, from where, and what came of it: in an SQLite database. An operation
/// is written, up to the disk, before it is sent. One whose end is not written when the process
/// ends has the outcome "unknown" from the next start on. May be called from any thread.
class AuditTrail {
public:
    static constexpr int mostInMemory = 10000;
    /// The outcome of an operation whose end comes later.
    static constexpr const char* accepted = "accepted";

    /// @param file for this process only, made if needed for its owner only; empty: in memory,
    /// where
    ///             the newest `mostInMemory` operations are kept
    /// @param days how long an operation is kept
    /// @throws std::runtime_error when it cannot be used; the text names it
    AuditTrail(const std::filesystem::path& file, int days);

    /// Writes an operation that is about to be sent.
    /// @return its id
    /// @throws ApiError audit-unavailable when it cannot be written: it must not be sent then
    std::int64_t begin(const AuditEntry& entry);

    /// Writes what came of it; when that fails, later. The first outcome counts, but that
    /// `accepted` is followed by another.
    /// @param outcome as "done", or the code of an error
    void finish(std::int64_t id, const std::string& outcome, const std::string& text);

    /// The newest operations first. Operations that begin or end meanwhile do not wait for it.
    /// @throws ApiError audit-unavailable
    std::vector<AuditRow> find(const AuditFilter& filter, int limit);

    /// Writes the outcomes that could not be written before, and removes some of the operations
    /// that are too old: not all at once, so that others do not wait
    /// for long; and none while the newest is too old, too: then the clock may be wrong. A failure
    /// is logged once. For one thread.
    /// @return whether there may be more
    bool keepHouse();

private:
    struct Ending {
        std::string outcome;
        std::string text;
        std::int64_t finished = 0;
    };

    template <class Action>
    auto writing(Action action);
    template <class Action>
    auto reading(Action action);
    void read(const AuditFilter& filter, std::int64_t oldest, int limit,
              std::vector<AuditRow>& rows);
    void write(std::int64_t id, const Ending& ending);

    const bool isInMemory_;
    const std::int64_t keptMS_;
    bool hasFailed_ = false;       // the last `keepHouse`
    std::atomic<int> writers_{0};  // that have the lock or wait for it
    std::mutex lock_;
    std::condition_variable written_;
    // Guarded by lock_.
    pautil::Database database_;
    std::map<std::int64_t, Ending> unwritten_;
};

}  // namespace papanel
