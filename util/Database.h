// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace pautil {

/// A database call that failed. The message names the cause: of a failed system call the text of
/// its error, otherwise that of SQLite.
struct DatabaseFault : std::runtime_error {
    using std::runtime_error::runtime_error;
    DatabaseFault(int result, sqlite3* database);
};

/// A connection to an SQLite database, which no other process can use meanwhile. Every function
/// throws DatabaseFault. Passive: one thread at a time.
class Database {
public:
    /// @param file made if needed; empty for a database in memory
    explicit Database(const std::filesystem::path& file);

    void run(const char* sql);

    /// The first column of a statement's first row, empty for none.
    std::string textOf(const char* sql);

    /// How many rows the last statement has changed.
    std::int64_t changes() const;

    /// Brings the tables of a new database, and of one of an earlier version, to the version of
    /// this program, in one transaction.
    /// @param steps each leads from the version that is its place to the next one
    /// @param checkTables a statement that fails when the tables are others: nothing changes then
    void migrate(const std::vector<const char*>& steps, const char* checkTables);

    /// Replaces the whole content by that of another database.
    void copyFrom(Database& source);

    /// A prepared statement. Places of values and columns count from 0.
    class Statement {
    public:
        Statement(Database& database, const char* sql);

        /// Gives a value to a place; texts and bytes must last until the last step.
        Statement& bind(int place, std::int64_t value);
        Statement& bind(int place, const char* text);
        Statement& bind(int place, std::string_view bytes);

        /// Steps to the next row, if there is one.
        bool step();

        std::int64_t integer(int column) const;
        bool isNull(int column) const;
        std::string bytes(int column) const;

    private:
        struct Close {
            void operator()(sqlite3_stmt* statement) const;
        };

        void check(int result) const;

        sqlite3* database_;
        std::unique_ptr<sqlite3_stmt, Close> statement_;
    };

private:
    struct Close {
        void operator()(sqlite3* database) const;
    };

    void check(int result) const;

    std::unique_ptr<sqlite3, Close> database_;
};

}  // namespace pautil
