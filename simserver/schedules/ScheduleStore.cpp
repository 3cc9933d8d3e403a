#include "simserver/schedules/ScheduleStore.h"

#include <sqlite3.h>
#include <stdexcept>

#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

constexpr const char* version = "1";

/// What the database says of a call that failed; a code of its own says less than the message.
struct DatabaseFault : std::runtime_error {
    DatabaseFault(int result, sqlite3* database)
        : std::runtime_error(result == SQLITE_BUSY ? "it is in use by another process"
                                                   : sqlite3_errmsg(database)) {}
};

std::string fileIn(const std::filesystem::path& folder) {
    if (folder.empty()) {
        return ":memory:";
    }
    std::filesystem::create_directories(folder);
    return (folder / ScheduleStore::fileName).string();
}

}  // namespace

void ScheduleStore::Close::operator()(sqlite3* database) const {
    sqlite3_close(database);
}
void ScheduleStore::Close::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

ScheduleStore::ScheduleStore(const std::filesystem::path& folder) {
    try {
        open(fileIn(folder));
        prepareTable();
        // A change counts only when the log that it stands in has reached the disk.
        run("PRAGMA journal_mode = WAL");
        run("PRAGMA synchronous = FULL");
        put_ = prepared("INSERT OR REPLACE INTO schedule (id, definition) VALUES (?1, ?2)");
        remove_ = prepared("DELETE FROM schedule WHERE id = ?1");
    } catch (const std::runtime_error& fault) {
        throw std::runtime_error("cannot keep schedules in \"" + (folder / fileName).string() +
                                 "\": " + fault.what());
    }
}

void ScheduleStore::open(const std::string& file) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(file.c_str(), &opened);
    database_.reset(opened);
    check(result);
    run("PRAGMA locking_mode = EXCLUSIVE");  // for as long as it is open
}

/// Makes the table in a new database; of any other it must be sure.
void ScheduleStore::prepareTable() {
    run("BEGIN EXCLUSIVE");
    if (const std::string fault = textOf("PRAGMA integrity_check"); fault != "ok") {
        throw std::runtime_error("it is damaged: " + fault);
    }
    if (textOf("SELECT count(*) FROM sqlite_master") == "0") {
        run("CREATE TABLE schedule (id INTEGER PRIMARY KEY, definition BLOB NOT NULL)");
        run((std::string("PRAGMA user_version = ") + version).c_str());
    }
    if (const std::string found = textOf("PRAGMA user_version"); found != version) {
        throw std::runtime_error("it is of version " + found + ", expected " + version);
    }
    run("COMMIT");
}

std::map<int, std::string> ScheduleStore::all() {
    const Statement select = prepared("SELECT id, definition FROM schedule");
    std::map<int, std::string> definitions;
    int result = sqlite3_step(select.get());
    for (; result == SQLITE_ROW; result = sqlite3_step(select.get())) {
        const void* const bytes = sqlite3_column_blob(select.get(), 1);
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1));
        definitions.emplace(sqlite3_column_int(select.get(), 0),
                            std::string(static_cast<const char*>(bytes), size));
    }
    check(result);
    return definitions;
}

void ScheduleStore::put(int id, std::string_view definition) {
    sqlite3_bind_int(put_.get(), 1, id);
    sqlite3_bind_blob64(put_.get(), 2, definition.data(), definition.size(), nullptr);
    change(*put_);
}

void ScheduleStore::remove(int id) {
    sqlite3_bind_int(remove_.get(), 1, id);
    change(*remove_);
}

/// Carries out a statement with the values that are bound to it, as one transaction.
void ScheduleStore::change(sqlite3_stmt& statement) {
    const int result = sqlite3_step(&statement);
    const std::string fault = sqlite3_errmsg(database_.get());
    sqlite3_reset(&statement);
    sqlite3_clear_bindings(&statement);
    if (result != SQLITE_DONE) {
        throw Refused("schedules cannot be kept: " + fault);
    }
}

void ScheduleStore::check(int result) const {
    if (result != SQLITE_OK && result != SQLITE_DONE) {
        throw DatabaseFault(result, database_.get());
    }
}

void ScheduleStore::run(const char* sql) {
    check(sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr));
}

/// The first column of a statement's first row.
std::string ScheduleStore::textOf(const char* sql) {
    const Statement statement = prepared(sql);
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW) {
        check(result);
        return "";
    }
    const unsigned char* const text = sqlite3_column_text(statement.get(), 0);
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

ScheduleStore::Statement ScheduleStore::prepared(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr));
    return Statement(statement);
}

}  // namespace simserver
