#pragma once

#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "simserver/schedules/Calendar.h"
#include "simserver/schedules/Schedule.h"
#include "simserver/schedules/ScheduleStore.h"

namespace simserver {

/// The schedules of a station and when they run next. Passive: time is an argument and never goes
/// back, one thread at a time. What is put here is kept before it counts.
class Scheduler {
public:
    /// @param state  the folder in which schedules are kept, empty for none
    /// @param opened what should have run before is not made up for
    /// @throws std::runtime_error for an unknown time zone, and when the schedules that are kept
    ///         cannot be read
    Scheduler(const std::filesystem::path& state, const std::string& timeZone, std::time_t opened);

    /// Puts a schedule with an id in, instead of another one that has it.
    /// @param definition what it was decoded from
    /// @return as it stands in the book
    /// @throws Refused when it cannot be kept
    const Schedule& put(const Schedule& schedule, const std::string& definition, std::time_t now);

    /// @throws Refused when there is no such schedule, or that cannot be kept
    void remove(int id);

    /// An id that no schedule has: behind all others, if there is one.
    int freeId() const;

    /// All in order of their ids.
    std::vector<const Schedule*> all() const;

    std::optional<std::time_t> nextRun() const;

    /// The schedules whose runs are due, in order of time and of ids. They live until the book
    /// changes.
    std::vector<const Schedule*> takeDue(std::time_t now);

private:
    struct Entry {
        Schedule schedule;
        std::optional<std::time_t> next;  // run
    };

    void plan(Entry& entry, std::time_t behind);
    void unplan(const Entry& entry);

    const Calendar calendar_;
    ScheduleStore store_;
    std::map<int, Entry> entries_;
    std::set<std::pair<std::time_t, int>> planned_;  // when which one runs next
};

}  // namespace simserver
