// SPDX-License-Identifier: Apache-2.0
// Schedules: cache, handler, queries.
#include <algorithm>
#include <optional>

#include "framework/clock.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/paDebug.h"
#include "sdk/records/BlankRecord.h"
#include "sdk/records/recordColumns.h"
#include "sdk/records/scheduleRecord.h"
#include "sdk/requests/scheduleDescription.h"

using namespace pa;

namespace {

constexpr char handler[] = "updateScheduleList";

}  // namespace

void PAController::updateScheduleList(int scheduleId, TEVlist* record) {
    const MergeResult result = mergeSchedule(scheduleId, record);
    if (result != MergeResult::Dropped) {
        sleepMS(notificationPauseMS);
        notifySchedule(scheduleId, result);
    }
}

PAController::MergeResult PAController::mergeSchedule(int scheduleId, TEVlist* record) {
    if (!hasRecord(record, handler, scheduleId)) {
        return MergeResult::Dropped;
    }
    BlankRecord<ScheduleRecord> decoded;
    if (!decodeSchedule(scheduleId, *record, *decoded)) {
        return MergeResult::Dropped;
    }
    const MutexGuard guard(paControllerMtx);
    bool added = false;
    std::size_t total = 0;
    {
        const LeafGuard leaf(lookupLock);
        added = scheduleList.put(*decoded);
        total = scheduleList.size();
    }
    if (added) {
        PASDK_DEBUG(1, "%s: scheduleId >%d< added to list. Total schedules >%zd<", handler,
                    scheduleId, total);
    } else {
        PASDK_DEBUG(1, "%s: scheduleId=%d updated<", handler, scheduleId);
    }
    return MergeResult::Changed;  // every record counts as a change
}

ScheduleDefinition* PAController::scheduleOf(int scheduleId) {
    const LeafGuard leaf(lookupLock);
    return scheduleList.find(scheduleId);
}

/// Does nothing when the schedule has been deleted, and stops when a callback deletes it.
void PAController::notifySchedule(int scheduleId, MergeResult /*result*/) {
    const MutexGuard guard(paControllerMtx);
    ScheduleDefinition* schedule = scheduleOf(scheduleId);
    if (schedule != nullptr && !observers().empty()) {
        const auto isKnown = [&] {
            const LeafGuard leaf(lookupLock);
            return scheduleList.find(scheduleId) != nullptr;
        };
        notifyWhile(isKnown, &PAControllerObserver::onScheduleUpdate,
                    withoutRequestUUID(*schedule));
        schedule = scheduleOf(scheduleId);
    }
    if (schedule != nullptr) {
        addNewEventItem(EventItem::SCHEDULE_UPDATED, scheduleId, schedule);
    }
}

std::vector<ScheduleDefinition> PAController::listSchedules() const {
    std::vector<ScheduleDefinition> schedules;
    {
        const MutexGuard guard(paControllerMtx);
        const LeafGuard leaf(lookupLock);
        schedules = scheduleList.all();
    }
    std::transform(schedules.begin(), schedules.end(), schedules.begin(), withoutRequestUUID);
    return schedules;
}

std::optional<ScheduleDefinition> PAController::findSchedule(int scheduleId) const {
    const MutexGuard guard(paControllerMtx);
    const LeafGuard leaf(lookupLock);
    const ScheduleDefinition* const schedule = scheduleList.find(scheduleId);
    return schedule == nullptr ? std::nullopt : std::optional(withoutRequestUUID(*schedule));
}
