// SPDX-License-Identifier: Apache-2.0
#include "sdk/records/ScheduleCache.h"

#include "sdk/requests/scheduleDescription.h"

namespace pa {

ScheduleDefinition* ScheduleCache::find(int id) {
    const auto known = byId_.find(id);
    return known == byId_.end() ? nullptr : &known->second->second;
}

const ScheduleDefinition* ScheduleCache::find(int id) const {
    const auto known = byId_.find(id);
    return known == byId_.end() ? nullptr : &known->second->second;
}

bool ScheduleCache::put(ScheduleDefinition& schedule) {
    const auto known = byId_.find(schedule.Id);
    if (known == byId_.end()) {
        add(schedule);
        return true;
    }
    auto& [arrival, stored] = *known->second;
    // The validity of the display stays as first reported.
    schedule.displayTemplateValidityPeriodSeconds = stored.displayTemplateValidityPeriodSeconds;
    if (schedule == stored) {
        stored.gain = schedule.gain;  // -0 and 0 are equal
        return false;
    }
    ScheduleDefinition changed = schedule;
    if (changed.descrption != stored.descrption) {
        const Request before{requestUUIDOf(stored.descrption), arrival};
        const Request now{requestUUIDOf(changed.descrption), arrival};
        byRequest_.insert(now);
        if (now != before) {
            byRequest_.erase(before);
        }
    }
    stored = std::move(changed);
    return false;
}

/// Adds a schedule that is not there; all of it or, short of memory, nothing.
void ScheduleCache::add(const ScheduleDefinition& schedule) {
    Request request{requestUUIDOf(schedule.descrption), nextArrival_};
    const auto added = byArrival_.emplace(nextArrival_, schedule).first;
    try {
        byId_.emplace(schedule.Id, added);
        byRequest_.insert(std::move(request));
    } catch (...) {
        byId_.erase(schedule.Id);
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
    const auto entry = known->second;
    byRequest_.erase({requestUUIDOf(entry->second.descrption), entry->first});
    byArrival_.erase(entry);
    byId_.erase(known);
}

std::optional<int> ScheduleCache::idOfRequest(const std::string& requestUUID) const {
    const auto first = byRequest_.lower_bound({requestUUID, 0});
    if (first == byRequest_.end() || first->first != requestUUID) {
        return std::nullopt;
    }
    return byArrival_.at(first->second).Id;
}

std::vector<int> ScheduleCache::ids() const {
    std::vector<int> ids;
    ids.reserve(size());
    for (const auto& entry : byArrival_) {
        ids.push_back(entry.second.Id);
    }
    return ids;
}

std::vector<ScheduleDefinition> ScheduleCache::all() const {
    std::vector<ScheduleDefinition> schedules;
    schedules.reserve(size());
    for (const auto& entry : byArrival_) {
        schedules.push_back(entry.second);
    }
    return schedules;
}

}  // namespace pa
