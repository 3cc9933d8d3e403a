#include "sdk/records/ScheduleCache.h"

#include "sdk/requests/scheduleDescription.h"

namespace pa {

ScheduleDefinition* ScheduleCache::find(int id) {
    const auto arrival = byId_.find(id);
    return arrival == byId_.end() ? nullptr : &byArrival_.at(arrival->second).schedule;
}

const ScheduleDefinition* ScheduleCache::find(int id) const {
    const auto arrival = byId_.find(id);
    return arrival == byId_.end() ? nullptr : &byArrival_.at(arrival->second).schedule;
}

bool ScheduleCache::put(const ScheduleDefinition& schedule) {
    CachedSchedule entry{schedule, requestUUIDOf(schedule.descrption)};
    const auto known = byId_.find(schedule.Id);
    if (known == byId_.end()) {
        add(std::move(entry));
        return true;
    }
    CachedSchedule& stored = byArrival_.at(known->second);
    // The validity of the display stays as first reported.
    entry.schedule.displayTemplateValidityPeriodSeconds =
        stored.schedule.displayTemplateValidityPeriodSeconds;
    byRequest_.insert({entry.requestUUID, known->second});
    if (stored.requestUUID != entry.requestUUID) {
        byRequest_.erase({stored.requestUUID, known->second});
    }
    stored = std::move(entry);
    return false;
}

/// Adds a schedule that is not there; all of it or, short of memory, nothing.
void ScheduleCache::add(CachedSchedule entry) {
    const int id = entry.schedule.Id;
    const std::string requestUUID = entry.requestUUID;
    const auto added = byArrival_.emplace(nextArrival_, std::move(entry)).first;
    try {
        byId_.emplace(id, nextArrival_);
        byRequest_.insert({requestUUID, nextArrival_});
    } catch (...) {
        byId_.erase(id);
        byArrival_.erase(added);
        throw;
    }
    ++nextArrival_;
}

void ScheduleCache::erase(int id) {
    const auto known = byId_.find(id);
    if (known == byId_.end()) {
        return;
    }
    const auto entry = byArrival_.find(known->second);
    byRequest_.erase({entry->second.requestUUID, entry->first});
    byArrival_.erase(entry);
    byId_.erase(known);
}

std::optional<int> ScheduleCache::idOfRequest(const std::string& requestUUID) const {
    const auto first = byRequest_.lower_bound({requestUUID, 0});
    if (first == byRequest_.end() || first->first != requestUUID) {
        return std::nullopt;
    }
    return byArrival_.at(first->second).schedule.Id;
}

std::vector<int> ScheduleCache::ids() const {
    std::vector<int> ids;
    ids.reserve(size());
    for (const auto& entry : byArrival_) {
        ids.push_back(entry.second.schedule.Id);
    }
    return ids;
}

std::vector<ScheduleDefinition> ScheduleCache::all() const {
    std::vector<ScheduleDefinition> schedules;
    schedules.reserve(size());
    for (const auto& entry : byArrival_) {
        schedules.push_back(entry.second.schedule);
    }
    return schedules;
}

}  // namespace pa
