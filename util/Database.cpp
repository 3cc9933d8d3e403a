// SPDX-License-Identifier: Apache-2.0
#include "util/Database.h"

#include <sqlite3.h>
#include <system_error>

namespace pautil {

namespace {

std::string messageOf(int result, sqlite3* database) {
    switch (result & 0xFF) {  // the rest of an extended code gives the place
        case SQLITE_BUSY:
            return "it is in use by another process";
        case SQLITE_READONLY:
            return std::make_error_code(std::errc::permission_denied).message();
        case SQLITE_CANTOPEN:
        case SQLITE_IOERR:
            if (const int error = sqlite3_system_errno(database); error != 0) {
                return std::generic_category().message(error);
            }
            break;
        default:
            break;
    }
    return sqlite3_errmsg(database);
}

}  // namespace

DatabaseFault::DatabaseFault(int result, sqlite3* database)
    : std::runtime_error(messageOf(result, database)) {}

// -------------------------------------------------------------------------------------- Database

void Database::Close::operator()(sqlite3* database) const {
    sqlite3_close(database);
}

Database::Database(const std::filesystem::path& file) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(file.empty() ? ":memory:" : file.c_str(), &opened);
    database_.reset(opened);
    check(result);
    run("PRAGMA locking_mode = EXCLUSIVE");
}

void Database::run(const char* sql) {
    check(sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr));
}

std::string Database::textOf(const char* sql) {
    Statement statement(*this, sql);
    return statement.step() ? statement.bytes(0) : "";
}

std::int64_t Database::changes() const {
    return sqlite3_changes64(database_.get());
}

void Database::migrate(const std::vector<const char*>& steps, const char* checkTables) {
    run("BEGIN EXCLUSIVE");
    const int found = std::stoi(textOf("PRAGMA user_version"));
    const int version = static_cast<int>(steps.size());
    if (found < 0 || found > version) {
        throw DatabaseFault("it is of version " + std::to_string(found) +
                            ", this program knows versions up to " + std::to_string(version));
    }
    if (found == 0 && textOf("SELECT count(*) FROM sqlite_master") != "0") {
        throw DatabaseFault("it is the database of another program");
    }
    for (int step = found; step < version; ++step) {
        run(steps[static_cast<std::size_t>(step)]);
        run(("PRAGMA user_version = " + std::to_string(step + 1)).c_str());
    }
    run(checkTables);
    run("COMMIT");
}

void Database::copyFrom(Database& source) {
    sqlite3_backup* const copy =
        sqlite3_backup_init(database_.get(), "main", source.database_.get(), "main");
    sqlite3_backup_step(copy, -1);  // an error is returned by finish, too
    check(sqlite3_backup_finish(copy));
}

void Database::check(int result) const {
    if (result != SQLITE_OK) {
        throw DatabaseFault(result, database_.get());
    }
}

// ------------------------------------------------------------------------------------- Statement

void Database::Statement::Close::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Database::Statement::Statement(Database& database, const char* sql)
    : database_(database.database_.get()) {
    sqlite3_stmt* prepared = nullptr;
    check(sqlite3_prepare_v2(database_, sql, -1, &prepared, nullptr));
    statement_.reset(prepared);
}

Database::Statement& Database::Statement::bind(int place, std::int64_t value) {
    check(sqlite3_bind_int64(statement_.get(), place + 1, value));
    return *this;
}

Database::Statement& Database::Statement::bind(int place, const char* text) {
    check(sqlite3_bind_text(statement_.get(), place + 1, text, -1, SQLITE_STATIC));
    return *this;
}

/// A null pointer would be NULL instead of no bytes.
Database::Statement& Database::Statement::bind(int place, std::string_view bytes) {
    const char* const begin = bytes.empty() ? "" : bytes.data();
    check(sqlite3_bind_blob64(statement_.get(), place + 1, begin, bytes.size(), SQLITE_STATIC));
    return *this;
}

bool Database::Statement::step() {
    const int result = sqlite3_step(statement_.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        throw DatabaseFault(result, database_);
    }
    return result == SQLITE_ROW;
}

std::int64_t Database::Statement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

bool Database::Statement::isNull(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

std::string Database::Statement::bytes(int column) const {
    const void* const begin = sqlite3_column_blob(statement_.get(), column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
    return {static_cast<const char*>(begin), size};
}

void Database::Statement::check(int result) const {
    if (result != SQLITE_OK) {
        throw DatabaseFault(result, database_);
    }
}

}  // namespace pautil
