// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "sdk/PAController.h"

/// @file
/// The templates of PAController.h that call observers and post events.

namespace pa {

/// The key that an event carries: the resource's id, for zones the cache key.
template <class Record>
int eventKey(int /*cacheKey*/, const Record& record) {
    return record.id;
}
inline int eventKey(int cacheKey, const PaZone& /*zone*/) {
    return cacheKey;
}
inline int eventKey(int /*cacheKey*/, const ScheduleDefinition& schedule) {
    return schedule.Id;
}

}  // namespace pa

template <class... Parameters, class... Arguments>
void PAController::notifyObservers(void (PAControllerObserver::*slot)(Parameters...),
                                   Arguments&&... arguments) {
    notifyWhile([] { return true; }, slot, std::forward<Arguments>(arguments)...);
}

template <class Condition, class... Parameters, class... Arguments>
void PAController::notifyWhile(Condition holds, void (PAControllerObserver::*slot)(Parameters...),
                               Arguments&&... arguments) {
    const auto& all = observers();
    for (PAControllerObserver* const observer : all) {
        if (observer != all.front() && !holds()) {
            return;
        }
        try {
            if (observer == all.back()) {
                (observer->*slot)(std::forward<Arguments>(arguments)...);
            } else {
                (observer->*slot)(arguments...);
            }
        } catch (...) {
            reportThrowingObserver();
        }
    }
}

template <class Record>
void PAController::publish(pa::RecordCache<Record>& cache,
                           typename pa::RecordCache<Record>::iterator entry, bool changed,
                           void (PAControllerObserver::*slot)(Record),
                           EventItem::EVENT_TYPE event) {
    if (changed && !observers().empty()) {
        const int key = entry->first;
        notifyWhile([&] { return cache.find(key) != cache.end(); }, slot, Record(entry->second));
        entry = cache.find(key);
    }
    if (entry != cache.end()) {
        addNewEventItem(event, pa::eventKey(entry->first, entry->second), &entry->second);
    }
}
