#pragma once

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
                                   const Arguments&... arguments) {
    notifyWhile([] { return true; }, slot, arguments...);
}

template <class Condition, class... Parameters, class... Arguments>
void PAController::notifyWhile(Condition holds, void (PAControllerObserver::*slot)(Parameters...),
                               const Arguments&... arguments) {
    for (PAControllerObserver* const observer : observers()) {
        if (!holds()) {
            return;
        }
        try {
            (observer->*slot)(arguments...);
        } catch (...) {
            reportThrowingObserver();
        }
    }
}

template <class Record>
void PAController::publish(std::map<int, Record>& cache, int key, bool changed,
                           void (PAControllerObserver::*slot)(Record),
                           EventItem::EVENT_TYPE event) {
    auto entry = cache.find(key);
    if (entry != cache.end() && changed) {
        const Record copy = entry->second;
        notifyWhile([&] { return cache.count(key) > 0; }, slot, copy);
        entry = cache.find(key);
    }
    if (entry != cache.end()) {
        addNewEventItem(event, pa::eventKey(key, entry->second), &entry->second);
    }
}
