// SPDX-License-Identifier: Apache-2.0
#include "panel/audit/AuditTrail.h"

#include <algorithm>
#include <utility>

#include "framework/log.h"
#include "panel/audit/auditDatabase.h"
#include "panel/audit/auditTexts.h"
#include "panel/audit/utcTime.h"
#include "util/AtEnd.h"

namespace papanel {

namespace fs = std::filesystem;
using pautil::Database;
using pautil::DatabaseFault;

namespace {

constexpr std::size_t mostTextBytes = 1024;
constexpr std::int64_t dayMS = std::int64_t{24} * 60 * 60 * 1000;

std::string kept(const std::string& text) {
    return storable(text, mostTextBytes);
}

}  // namespace

AuditTrail::AuditTrail(const fs::path& file, int days)
    : isInMemory_(file.empty()), keptMS_(days * dayMS), database_(openAudit(file)) {}

/// The result of `action()` with the lock, before those that read.
template <class Action>
auto AuditTrail::writing(Action action) {
    ++writers_;
    const std::lock_guard lock(lock_);
    const pautil::AtEnd isWritten([this] {
        --writers_;
        written_.notify_all();
    });
    return action();
}

/// The result of `action()` with the lock, when no other thread writes.
template <class Action>
auto AuditTrail::reading(Action action) {
    std::unique_lock lock(lock_);
    written_.wait(lock, [this] { return writers_ == 0; });
    return action();
}

std::int64_t AuditTrail::begin(const AuditEntry& entry) {
    // They last until the last step.
    const std::string texts[] = {kept(entry.user), kept(entry.address), kept(entry.operation),
                                 kept(entry.target), storable(entry.request, mostRequestBytes)};
    const auto insertRow = [&] {
        database_.run("PRAGMA synchronous = FULL");
        Database::Statement insert(
            database_,
            "INSERT INTO operation (time, user, address, operation, target, request, outcome, text)"
            " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, '') RETURNING id");
        int place = 0;
        insert.bind(place, utcNow());
        for (const std::string& text : texts) {
            insert.bind(++place, text.c_str());
        }
        insert.bind(++place, pendingOutcome).step();
        const std::int64_t id = insert.integer(0);
        insert.step();  // which commits it
        if (isInMemory_) {
            Database::Statement remove(database_, "DELETE FROM operation WHERE id <= ?1");
            remove.bind(0, id - mostInMemory).step();
        }
        return id;
    };
    return audited([&] { return writing(insertRow); });
}

void AuditTrail::finish(std::int64_t id, const std::string& outcome, const std::string& text) {
    const Ending ending{kept(outcome), kept(text), outcome == accepted ? 0 : utcNow()};
    try {
        writing([&] { write(id, ending); });
    } catch (const DatabaseFault& fault) {
        handleError(1, "outcome %s of operation %lld is not written: %s", ending.outcome.c_str(),
                    static_cast<long long>(id), fault.what());
        const std::lock_guard lock(lock_);
        unwritten_[id] = ending;
    }
}

/// With the lock.
void AuditTrail::write(std::int64_t id, const Ending& ending) {
    // After a power failure it may be "unknown", which is true then.
    database_.run("PRAGMA synchronous = NORMAL");
    Database::Statement update(
        database_,
        "UPDATE operation SET outcome = ?1, text = ?2, finished = nullif(?3, 0)"
        " WHERE id = ?4 AND outcome IN (?5, ?6)");
    update.bind(0, ending.outcome.c_str()).bind(1, ending.text.c_str());
    update.bind(2, ending.finished).bind(3, id).bind(4, pendingOutcome).bind(5, accepted).step();
}

std::vector<AuditRow> AuditTrail::find(const AuditFilter& filter, int limit) {
    constexpr std::int64_t atOnce = 5'000;
    return audited([&] {
        const auto [least, greatest] = reading([&] {
            Database::Statement ends(database_, "SELECT min(id), max(id) FROM operation");
            ends.step();
            return std::make_pair(ends.integer(0), ends.integer(1));
        });
        AuditFilter part = filter;
        part.before = std::min(filter.before.value_or(greatest + 1), greatest + 1);
        std::vector<AuditRow> rows;
        while (*part.before > least && rows.size() < static_cast<std::size_t>(limit)) {
            const std::int64_t oldest = *part.before - atOnce;
            reading([&] { read(part, oldest, limit - static_cast<int>(rows.size()), rows); });
            part.before = oldest;
        }
        return rows;
    });
}

/// Adds the rows from an id on.
void AuditTrail::read(const AuditFilter& filter, std::int64_t oldest, int limit,
                      std::vector<AuditRow>& rows) {
    std::string sql =
        "SELECT id, time, user, address, operation, target, request, outcome, text, finished"
        " FROM operation WHERE id >= ?8";
    sql += filter.from ? " AND time >= ?1" : "";
    sql += filter.until ? " AND time < ?2" : "";
    sql += filter.before ? " AND id < ?3" : "";
    sql += filter.user ? " AND substr(user, 1, length(?4)) = ?4" : "";
    sql += filter.operation ? " AND operation = ?5" : "";
    sql += filter.outcome ? " AND outcome = ?6" : "";
    sql += " ORDER BY id DESC LIMIT ?7";
    Database::Statement select(database_, sql.c_str());
    int place = 0;
    for (const auto& number : {filter.from, filter.until, filter.before}) {
        if (number) {
            select.bind(place, *number);
        }
        ++place;
    }
    for (const auto* const text : {&filter.user, &filter.operation, &filter.outcome}) {
        if (*text) {
            select.bind(place, (*text)->c_str());
        }
        ++place;
    }
    select.bind(place, std::int64_t{limit}).bind(place + 1, oldest);
    while (select.step()) {
        AuditRow& row = rows.emplace_back();
        row.id = select.integer(0);
        row.time = select.integer(1);
        int column = 2;
        for (std::string* const text : {&row.user, &row.address, &row.operation, &row.target,
                                        &row.request, &row.outcome, &row.text}) {
            *text = select.bytes(column++);
        }
        if (!select.isNull(column)) {
            row.finished = select.integer(column);
        }
    }
}

bool AuditTrail::keepHouse() {
    constexpr std::int64_t atOnce = 200;
    const auto writeLate = [&] {
        while (!unwritten_.empty()) {
            write(unwritten_.begin()->first, unwritten_.begin()->second);
            unwritten_.erase(unwritten_.begin());
        }
    };
    const auto removeExpired = [&] {
        Database::Statement remove(database_,
                                   "DELETE FROM operation WHERE id IN (SELECT id FROM operation"
                                   " WHERE time < ?1 ORDER BY time LIMIT ?2)"
                                   " AND (SELECT time FROM operation ORDER BY id DESC LIMIT 1)"
                                   " >= ?1");
        remove.bind(0, utcNow() - keptMS_).bind(1, atOnce).step();
        return database_.changes() == atOnce;
    };
    try {
        writing(writeLate);
        const bool hasMore = writing(removeExpired);
        hasFailed_ = false;
        return hasMore;
    } catch (const DatabaseFault& fault) {
        if (!std::exchange(hasFailed_, true)) {
            handleError(1, "the audit trail is not kept in order: %s", fault.what());
        }
        return false;
    }
}

}  // namespace papanel
