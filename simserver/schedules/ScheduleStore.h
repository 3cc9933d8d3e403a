#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace simserver {

/// Keeps the definitions of schedules in a database, each as the client has sent it. What `put` and
/// `remove` have done survives the end of the process, however it ends. Passive: one thread at a
/// time.
class ScheduleStore {
public:
    static constexpr const char* fileName = "schedules.db";

    /// @param folder made if needed; empty: nothing outlives the object
    /// @throws std::runtime_error when the database cannot be opened, is damaged, is in use by
    ///         another process or is of another version
    explicit ScheduleStore(const std::filesystem::path& folder);

    /// Every definition by the id of its schedule.
    std::map<int, std::string> all();

    /// Keeps a definition, instead of another one with that id.
    /// @throws Refused when it cannot be written; then all is as it was
    void put(int id, std::string_view definition);

    /// @throws Refused when it cannot be written; then all is as it was
    void remove(int id);

private:
    struct Close {
        void operator()(sqlite3* database) const;
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Close>;

    void open(const std::string& file);
    void prepareTable();
    void check(int result) const;
    void run(const char* sql);
    std::string textOf(const char* sql);
    Statement prepared(const char* sql);
    void change(sqlite3_stmt& statement);

    std::unique_ptr<sqlite3, Close> database_;
    Statement put_;
    Statement remove_;
};

}  // namespace simserver
