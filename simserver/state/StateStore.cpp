// SPDX-License-Identifier: Apache-2.0
#include "simserver/state/StateStore.h"

#include <iterator>
#include <stdexcept>
#include <system_error>

#include "framework/log.h"
#include "simserver/protocol/Refused.h"
#include "util/TemporaryFolder.h"

namespace simserver {

using pautil::Database;
using pautil::DatabaseFault;
namespace fs = std::filesystem;

namespace {

/// How a kind is kept, in the order of `Kept`.
struct KeptRow {
    const char* name;    // in the database and in messages, before the id
    const char* synced;  // how far a change gets before it is reported
};
constexpr const char* toDisk = "PRAGMA synchronous = FULL";
constexpr const char* toSystem = "PRAGMA synchronous = NORMAL";  // it writes to the disk later
constexpr KeptRow kinds[] = {{"schedule", toDisk},
                             {"gain of source", toSystem},
                             {"zones of source", toSystem},
                             {"gain of sink", toSystem},
                             {"monitoring of sink", toSystem}};

const KeptRow& rowOf(Kept kind) {
    return kinds[static_cast<std::size_t>(kind)];
}

/// Each leads from the version that is its place to the next one.
constexpr const char* migrations[] = {
    "CREATE TABLE schedule (id INTEGER PRIMARY KEY, definition BLOB NOT NULL)",
    "CREATE TABLE kept (kind TEXT, id INTEGER, value BLOB NOT NULL, PRIMARY KEY (kind, id));"
    "INSERT INTO kept SELECT 'schedule', id, definition FROM schedule;"
    "DROP TABLE schedule"};

/// The database, and the log of its changes.
constexpr const char* files[] = {StateStore::fileName, "schedules.db-wal"};

/// The content of a database that cannot be opened where it is: SQLite needs to write beside it,
/// even to read what a killed server has left in the log of its changes.
Database copyInMemory(const StateFolder& folder) {
    const pautil::TemporaryFolder temporary("pa-state");
    for (const char* const name : files) {
        const fs::path original = folder.file(name);
        const fs::path copy = temporary.path() / name;
        if (std::error_code error; fs::exists(original) && !fs::copy_file(original, copy, error)) {
            throw std::runtime_error(std::string(name) + ": " + error.message());
        }
        if (fs::exists(copy)) {
            fs::permissions(copy, fs::perms::owner_all);
        }
    }
    Database source(temporary.path() / StateStore::fileName);
    Database memory("");
    memory.copyFrom(source);
    return memory;
}

}  // namespace

StateStore::StateStore(const fs::path& folder) : place_((folder / fileName).string()) {
    try {
        if (!folder.empty()) {
            open(folder);
        }
        if (const std::string fault = database_.textOf("PRAGMA integrity_check"); fault != "ok") {
            throw DatabaseFault("it is damaged: " + fault);
        }
        database_.migrate({std::begin(migrations), std::end(migrations)},
                          "SELECT kind, id, value FROM kept LIMIT 0");
        database_.run("PRAGMA journal_mode = WAL");  // synced less often, in order
    } catch (const DatabaseFault& fault) {
        throw std::runtime_error("cannot keep state in \"" + place_ + "\": " + fault.what());
    } catch (const std::runtime_error& fault) {
        throw std::runtime_error("cannot keep state in \"" + folder.string() +
                                 "\": " + fault.what());
    }
}

void StateStore::open(const fs::path& folder) {
    folder_.emplace(folder, std::vector<const char*>(std::begin(files), std::end(files)));
    if (!folder_->isReadOnly()) {
        database_ = Database(folder_->file(fileName));
        return;
    }
    database_ = copyInMemory(*folder_);
    handleError(1, "the state folder cannot be written to, nothing is kept: %s",
                folder_->whyReadOnly().c_str());
    folder_.reset();
}

std::map<int, std::string> StateStore::all(Kept kind) {
    Database::Statement select(database_, "SELECT id, value FROM kept WHERE kind = ?1");
    select.bind(0, rowOf(kind).name);
    std::map<int, std::string> values;
    while (select.step()) {
        values.emplace(static_cast<int>(select.integer(0)), select.bytes(1));
    }
    return values;
}

void StateStore::put(Kept kind, int id, std::string_view value) {
    change("INSERT OR REPLACE INTO kept (kind, id, value) VALUES (?1, ?2, ?3)", kind, id, value);
}

void StateStore::remove(Kept kind, int id) {
    change("DELETE FROM kept WHERE kind = ?1 AND id = ?2", kind, id, std::nullopt);
}

void StateStore::change(const char* sql, Kept kind, int id, std::optional<std::string_view> value) {
    try {
        database_.run(rowOf(kind).synced);
        Database::Statement statement(database_, sql);
        statement.bind(0, rowOf(kind).name).bind(1, id);
        if (value) {
            statement.bind(2, *value);
        }
        statement.step();
    } catch (const DatabaseFault& fault) {
        throw Refused(std::string("it cannot be kept: ") + fault.what());
    }
}

bool StateStore::restore(Kept kind, int id, const std::function<void()>& take) const {
    try {
        take();
        return true;
    } catch (const Refused& refused) {
        handleError(1, "%s %d of \"%s\" cannot be read and is left out: %s", rowOf(kind).name, id,
                    place_.c_str(), refused.what());
        return false;
    }
}

}  // namespace simserver
