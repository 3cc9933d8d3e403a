// The room of schedules: cache, handler, queries.
#include <algorithm>
#include <optional>

#include "sdk/PAController.h"
#include "sdk/cacheValues.h"
#include "sdk/notify.h"
#include "sdk/paDebug.h"
#include "sdk/recordColumns.h"
#include "sdk/scheduleDescription.h"
#include "sdk/scheduleRecord.h"

namespace {

constexpr char handler[] = "updateScheduleList";

}  // namespace

void PAController::updateScheduleList(int scheduleId, TEVlist* record) {
    if (!hasRecord(record, handler, scheduleId)) {
        return;
    }
    const std::optional<ScheduleDefinition> decoded = decodeSchedule(scheduleId, *record);
    if (!decoded) {
        return;
    }
    const MutexGuard guard(paControllerMtx);
    storeSchedule(*decoded);
    pauseBeforeNotification();
    publishSchedule(scheduleId);
}

ScheduleDefinition* PAController::scheduleOf(int scheduleId) {
    const LeafGuard leaf(lookupLock);
    const auto found = findSchedule(scheduleList, scheduleId);
    return found == scheduleList.end() ? nullptr : &*found;
}

void PAController::storeSchedule(const ScheduleDefinition& decoded) {
    if (ScheduleDefinition* const known = scheduleOf(decoded.Id); known != nullptr) {
        {
            const LeafGuard leaf(lookupLock);
            const int validity = known->displayTemplateValidityPeriodSeconds;
            *known = decoded;
            // The validity of the display stays as it was first told.
            known->displayTemplateValidityPeriodSeconds = validity;
        }
        PA_DEBUG(1, "%s: scheduleId=%d updated<", handler, decoded.Id);
        return;
    }
    std::size_t total = 0;
    {
        const LeafGuard leaf(lookupLock);
        scheduleList.push_back(decoded);
        total = scheduleList.size();
    }
    PA_DEBUG(1, "%s: scheduleId >%d< added to list. Total schedules >%zd<", handler, decoded.Id,
             total);
}

/// Nothing happens when the schedule is gone, or goes in a callback.
void PAController::publishSchedule(int scheduleId) {
    ScheduleDefinition* schedule = scheduleOf(scheduleId);
    if (schedule != nullptr && !observers().empty()) {
        const ScheduleDefinition told = withoutRequestUUID(*schedule);
        notifyObservers(&PAControllerObserver::onScheduleUpdate, told);
        schedule = scheduleOf(scheduleId);
    }
    if (schedule != nullptr) {
        addNewEventItem(EventItem::SCHEDULE_UPDATED, scheduleId, schedule);
    }
}

std::vector<ScheduleDefinition> PAController::listSchedules() {
    std::vector<ScheduleDefinition> schedules;
    {
        const MutexGuard guard(paControllerMtx);
        const LeafGuard leaf(lookupLock);
        schedules = scheduleList;
    }
    std::transform(schedules.begin(), schedules.end(), schedules.begin(), withoutRequestUUID);
    return schedules;
}
