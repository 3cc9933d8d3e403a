// SPDX-License-Identifier: Apache-2.0
#include "panel/audit/auditDatabase.h"

#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>

#include "panel/audit/AuditTrail.h"
#include "util/Descriptor.h"

namespace papanel {

namespace fs = std::filesystem;
using pautil::Database;
using pautil::DatabaseFault;

namespace {

/// Each leads from the version that is its place to the next one.
constexpr const char* migrations[] = {
    "CREATE TABLE operation (id INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL,"
    " user TEXT NOT NULL, address TEXT NOT NULL, operation TEXT NOT NULL, target TEXT NOT NULL,"
    " request TEXT NOT NULL, outcome TEXT NOT NULL, text TEXT NOT NULL, finished INTEGER);"
    "CREATE INDEX operationByTime ON operation (time)"};

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

}  // namespace

Database openAudit(const fs::path& file) {
    try {
        Database database(made(file));
        database.migrate({std::begin(migrations), std::end(migrations)},
                         "SELECT time, finished FROM operation LIMIT 0");
        database.run("PRAGMA journal_mode = WAL");
        Database::Statement forget(
            database,
            "UPDATE operation SET finished = NULL, outcome = 'unknown', text = ?1"
            " WHERE outcome IN (?2, ?3)");
        forget.bind(0, "papanel ended before the outcome was known");
        forget.bind(1, pendingOutcome).bind(2, AuditTrail::accepted).step();
        return database;
    } catch (const DatabaseFault& fault) {
        throw std::runtime_error("cannot keep the audit trail in \"" + file.string() +
                                 "\": " + fault.what());
    }
}

}  // namespace papanel
