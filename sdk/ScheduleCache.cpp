#include "sdk/ScheduleCache.h"

#include "sdk/scheduleDescription.h"

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
    const auto [known, added] = byId_.try_emplace(schedule.Id, nextArrival_);
    const Arrival arrival = known->second;
    Entry& entry = byArrival_[arrival];
    if (added) {
        ++nextArrival_;
        entry.schedule = schedule;
    } else {
        removeFromRequests(arrival, entry);
        const int validity = entry.schedule.displayTemplateValidityPeriodSeconds;
        entry.schedule = schedule;
        // The validity of the display stays as it was first told.
        entry.schedule.displayTemplateValidityPeriodSeconds = validity;
    }
    addToRequests(arrival, entry);
    return added;
}

void ScheduleCache::erase(int id) {
    const auto known = byId_.find(id);
    if (known == byId_.end()) {
        return;
    }
    const auto entry = byArrival_.find(known->second);
    removeFromRequests(entry->first, entry->second);
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

void ScheduleCache::addToRequests(Arrival arrival, Entry& entry) {
    entry.requestUUID = requestUUIDOf(entry.schedule.descrption);
    if (!entry.requestUUID.empty()) {
        byRequest_.emplace(entry.requestUUID, arrival);
    }
}

void ScheduleCache::removeFromRequests(Arrival arrival, const Entry& entry) {
    byRequest_.erase({entry.requestUUID, arrival});
}

}  // namespace pa
