// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "simserver/schedules/Schedule.h"
#include "simserver/state/StateStore.h"

namespace simserver {

/// The schedules of a station and when they run next. Passive: time is an argument that never
/// decreases, one thread at a time. A change is stored before it takes effect.
class Scheduler {
public:
    /// Begins with the schedules that are kept. Those that cannot be read are reported in the log
    /// and stay kept.
    /// @param state  must outlive the object
    /// @param opened wall clock at the start: earlier runs are not made up for
    /// @throws std::runtime_error for an unknown time zone
    Scheduler(StateStore& state, const std::string& timeZone, std::time_t opened);

    /// Stores a schedule, in place of another with its id.
    /// @param definition what it was decoded from
    /// @return the stored one
    /// @throws Refused when it cannot be stored
    const Schedule& put(const Schedule& schedule, const std::string& definition, std::time_t now);

    /// @throws Refused when there is no such schedule, or its removal cannot be stored
    void remove(int id);

    /// An id that no schedule has, readable or not: after all others, if there is one.
    int freeId() const;

    /// All in order of their ids.
    std::vector<const Schedule*> all() const;

    std::optional<std::time_t> nextRun() const;

    /// The schedules whose runs are due, in order of time and of ids. The pointers are valid until
    /// the next change.
    std::vector<const Schedule*> takeDue(std::time_t now);

private:
    struct Entry {
        Schedule schedule;
        std::optional<std::time_t> next;  // run
    };

    void plan(Entry& entry, std::time_t after);
    void unplan(const Entry& entry);

    const Calendar calendar_;
    StateStore& state_;
    std::map<int, Entry> entries_;
    std::set<int> unreadable_;
    std::set<std::pair<std::time_t, int>> planned_;  // next runs with ids
};

}  // namespace simserver
