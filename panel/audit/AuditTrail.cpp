// SPDX-License-Identifier: Apache-2.0
#include "panel/audit/AuditTrail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

#include "framework/log.h"
#include "panel/audit/auditTexts.h"
#include "panel/audit/utcTime.h"
#include "panel/http/ApiError.h"
#include "util/Descriptor.h"

namespace papanel {

namespace fs = std::filesystem;
using pautil::Database;
using pautil::DatabaseFault;

namespace {

constexpr const char* pending = "pending";
constexpr std::size_t mostTextBytes = 1024;
constexpr std::int64_t dayMS = std::int64_t{24} * 60 * 60 * 1000;

/// Each leads from the version that is its place to the next one.
constexpr const char* migrations[] = {
    "CREATE TABLE operation (id INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL,"
    " user TEXT NOT NULL, address TEXT NOT NULL, operation TEXT NOT NULL, target TEXT NOT NULL,"
    " request TEXT NOT NULL, outcome TEXT NOT NULL, text TEXT NOT NULL, finished INTEGER);"
    "CREATE INDEX operationByTime ON operation (time)"};

std::string kept(const std::string& text) {
    return storable(text, mostTextBytes);
}

/// The database's file is for its owner only, and so are the files that SQLite makes beside it.
const fs::path& made(const fs::path& file) {
    if (!file.empty()) {
        const pautil::Descriptor opened(
            open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!opened.isOpen()) {
            throw DatabaseFault(pautil::lastError().message());
        }
    }
    return file;
}

Database opened(const fs::path& file) {
    try {
        Database database(made(file));
        database.migrate({std::begin(migrations), std::end(migrations)},
                         "SELECT time, finished FROM operation LIMIT 0");
        database.run("PRAGMA journal_mode = WAL");
        Database::Statement forget(database,
                                   "UPDATE operation SET outcome = 'unknown', text = ?1"
                                   " WHERE outcome = ?2");
        forget.bind(0, "papanel ended before the outcome was known").bind(1, pending).step();
        return database;
    } catch (const DatabaseFault& fault) {
        throw std::runtime_error("cannot keep the audit trail in \"" + file.string() +
                                 "\": " + fault.what());
    }
}

}  // namespace

AuditTrail::AuditTrail(const fs::path& file, int days)
    : isInMemory_(file.empty()), keptMS_(days * dayMS), database_(opened(file)) {}

/// The result of `action()` with the lock.
template <class Action>
auto AuditTrail::guarded(Action action) {
    try {
        const std::lock_guard<std::mutex> lock(lock_);
        return action();
    } catch (const DatabaseFault& fault) {
        throw ApiError(503, "audit-unavailable",
                       std::string("the audit trail cannot be used: ") + fault.what());
    }
}

std::int64_t AuditTrail::begin(const AuditEntry& entry) {
    // They last until the last step.
    const std::string texts[] = {kept(entry.user), kept(entry.address), kept(entry.operation),
                                 kept(entry.target), storable(entry.request, mostRequestBytes)};
    return guarded([&] {
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
        insert.bind(++place, pending).step();
        const std::int64_t id = insert.integer(0);
        insert.step();  // which commits it
        if (isInMemory_) {
            Database::Statement remove(database_, "DELETE FROM operation WHERE id <= ?1");
            remove.bind(0, id - mostInMemory).step();
        }
        return id;
    });
}

void AuditTrail::finish(std::int64_t id, const std::string& outcome, const std::string& text) {
    const Ending ending{kept(outcome), kept(text), utcNow()};
    try {
        guarded([&] { write(id, ending); });
    } catch (const ApiError& fault) {
        handleError(1, "outcome %s of operation %lld: %s", ending.outcome.c_str(),
                    static_cast<long long>(id), fault.what());
        const std::lock_guard<std::mutex> lock(lock_);
        unwritten_[id] = ending;
    }
}

/// With the lock.
void AuditTrail::write(std::int64_t id, const Ending& ending) {
    // After a power failure it may be "unknown", which is true then.
    database_.run("PRAGMA synchronous = NORMAL");
    Database::Statement update(database_,
                               "UPDATE operation SET outcome = ?1, text = ?2, finished = ?3"
                               " WHERE id = ?4");
    update.bind(0, ending.outcome.c_str()).bind(1, ending.text.c_str());
    update.bind(2, ending.finished).bind(3, id).step();
}

std::vector<AuditRow> AuditTrail::find(const AuditFilter& filter, int limit) {
    std::string sql =
        "SELECT id, time, user, address, operation, target, request, outcome, text, finished"
        " FROM operation WHERE 1";
    sql += filter.from ? " AND time >= ?1" : "";
    sql += filter.until ? " AND time < ?2" : "";
    sql += filter.before ? " AND id < ?3" : "";
    sql += filter.user ? " AND user = ?4" : "";
    sql += filter.operation ? " AND operation = ?5" : "";
    sql += filter.outcome ? " AND outcome = ?6" : "";
    sql += " ORDER BY id DESC LIMIT ?7";
    return guarded([&] {
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
        select.bind(place, std::int64_t{limit});
        std::vector<AuditRow> rows;
        while (select.step()) {
            AuditRow row;
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
            rows.push_back(std::move(row));
        }
        return rows;
    });
}

bool AuditTrail::keepHouse() {
    constexpr std::int64_t atOnce = 200;
    try {
        const std::lock_guard<std::mutex> lock(lock_);
        while (!unwritten_.empty()) {
            write(unwritten_.begin()->first, unwritten_.begin()->second);
            unwritten_.erase(unwritten_.begin());
        }
        Database::Statement remove(database_,
                                   "DELETE FROM operation WHERE id IN (SELECT id FROM operation"
                                   " WHERE time < ?1 ORDER BY time LIMIT ?2)");
        remove.bind(0, utcNow() - keptMS_).bind(1, atOnce).step();
        hasFailed_ = false;
        return database_.changes() == atOnce;
    } catch (const DatabaseFault& fault) {
        if (!std::exchange(hasFailed_, true)) {
            handleError(1, "the audit trail is not kept in order: %s", fault.what());
        }
        return false;
    }
}

}  // namespace papanel
