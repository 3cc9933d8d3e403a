// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simserver/state/StateFolder.h"
#include "util/Database.h"

namespace simserver {

/// What outlives a server. Each value has the id of its schedule, source or sink.
enum class Kept { Schedule, SourceGain, AttachedZones, SinkGain, Monitoring };

/// Keeps values in a database of the state folder, each in a form that its part of the server
/// chooses. Every change is one transaction: it takes place as a whole or not at all, and it
/// survives the end of the process, however it ends. A schedule has reached the disk when `put` or
/// `remove` returns; of other values a power failure may undo the last changes.
///
/// A folder that cannot be written to is read, once; then the values are kept in memory, and the
/// log reports it in one line. Passive: one thread at a time.
class StateStore {
public:
    static constexpr const char* fileName = "schedules.db";  // it once held nothing else

    /// @param folder made if needed; empty: the values end with this object
    /// @throws std::runtime_error when the folder is in use by another process or cannot be read,
    ///         and when the database is damaged or of a later version; it is left as it is
    explicit StateStore(const std::filesystem::path& folder);

    /// Whether changes are kept in a folder.
    bool isLasting() const { return folder_.has_value(); }

    /// Every value of a kind by its id.
    std::map<int, std::string> all(Kept kind);

    /// Stores a value, in place of another with that id.
    /// @throws Refused when it cannot be written; then all is as it was
    void put(Kept kind, int id, std::string_view value);

    /// @throws Refused when it cannot be written; then all is as it was
    void remove(Kept kind, int id);

    /// Has `take` take over a value. One that it refuses is reported in the log and stays stored.
    /// @return whether it was taken
    bool restore(Kept kind, int id, const std::function<void()>& take) const;

    /// Calls `take(thing, value)` for everything in a list with a value of this kind. Values that
    /// it refuses are reported in the log and stay stored, as do those of what is not in the list.
    template <class Thing, class Take>
    void restoreAll(Kept kind, std::vector<Thing>& things, Take take) {
        const std::map<int, std::string> values = all(kind);
        for (Thing& thing : things) {
            if (const auto found = values.find(thing.id); found != values.end()) {
                restore(kind, thing.id, [&] { take(thing, found->second); });
            }
        }
    }

private:
    void open(const std::filesystem::path& folder);
    void change(const char* sql, Kept kind, int id, std::optional<std::string_view> value);

    std::optional<StateFolder> folder_;  // nothing when values are kept in memory
    pautil::Database database_{""};
    const std::string place_;
};

}  // namespace simserver
