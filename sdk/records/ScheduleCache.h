// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "../ScheduleDefinition.h"

namespace pa {

/// The schedules that the server has reported, in order of arrival, found by identifier and by the
/// UUID of their request in logarithmic time. Has no lock.
class ScheduleCache {
public:
    ScheduleCache() = default;
    ScheduleCache(const ScheduleCache&) = delete;
    ScheduleCache& operator=(const ScheduleCache&) = delete;

    /// The schedule with an identifier, null for none. Valid until the schedule is erased. Its
    /// identifier and its description must not be changed through the pointer.
    ScheduleDefinition* find(int id);
    const ScheduleDefinition* find(int id) const;

    /// Adds a schedule after all others, or replaces the one with its identifier, which keeps its
    /// place and the validity of its display. Nothing changes when it is short of memory.
    /// @param schedule receives the validity
    /// @return whether it was added
    bool put(ScheduleDefinition& schedule);

    /// Removes the schedule with an identifier; none is ignored.
    void erase(int id);

    /// The identifier of the first schedule, in order of arrival, that a request has made.
    std::optional<int> idOfRequest(const std::string& requestUUID) const;

    /// The identifiers, in order of arrival.
    std::vector<int> ids() const;

    /// Copies, in order of arrival.
    std::vector<ScheduleDefinition> all() const;

    std::size_t size() const { return byArrival_.size(); }

private:
    using Arrival = std::uint64_t;  // counts the schedules that have ever been added
    using Schedules = std::map<Arrival, ScheduleDefinition>;
    using Request = std::pair<std::string, Arrival>;  // UUID, empty when the description names none

    void add(const ScheduleDefinition& schedule);

    Arrival nextArrival_ = 0;
    Schedules byArrival_;
    std::unordered_map<int, Schedules::iterator> byId_;
    std::set<Request> byRequest_;
};

}  // namespace pa
