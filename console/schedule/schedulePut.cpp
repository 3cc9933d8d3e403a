#include "console/schedule/schedulePut.h"

#include <atomic>
#include <memory>

#include "console/following/operate.h"
#include "console/schedule/scheduleCheck.h"
#include "sdk/PAController.h"

namespace console {

namespace {

/// Whether a change tells of this very schedule.
bool tellsOf(const std::optional<Change>& change, const ScheduleDefinition& schedule) {
    const auto* const told = change && change->kind == Change::Kind::Update
                                 ? std::get_if<ScheduleDefinition>(&change->what)
                                 : nullptr;
    return told != nullptr && isSame(*told, schedule);
}

bool isKept(const ScheduleDefinition& schedule) {
    const auto kept = gPaController.findSchedule(schedule.Id);
    return kept && isSame(*kept, schedule);
}

}  // namespace

std::string putSchedule(const Context& context, const ScheduleDefinition& schedule) {
    check(schedule);
    const ScheduleDefinition wanted = asTold(schedule);
    const bool wasKept = isKept(wanted);
    const bool isShown = wanted.visualAnnouncementType != AT_NONE;
    if (wasKept && !isShown) {
        return ", as before";
    }
    // What is kept already may be shown for another time, of which nothing is told: then the next
    // that is told of it counts. Anything else is seen before it is told.
    Request request{"schedule " + std::to_string(schedule.Id) + " is kept as asked",
                    {pa::operations::putSchedule}};
    request.tickSeconds = 0.001;
    operate(
        context, request, [&] { gPaController.modifySchedule(schedule); },
        [&](const std::optional<Change>& change) {
            return wasKept ? tellsOf(change, wanted) : isKept(wanted);
        });
    return {};
}

ScheduleDefinition putNewSchedule(const Context& context, ScheduleDefinition schedule) {
    check(schedule);
    const Request request{"the schedule is in", {pa::operations::putSchedule}};
    const auto id = std::make_shared<std::atomic<int>>(0);  // the call may outlive this one
    const auto call = [schedule, id] {
        try {
            *id = gPaController.createScheduleSync(schedule);
        } catch (const std::invalid_argument&) {
            return false;  // it has waited in vain
        }
        return true;
    };
    if (!operateBlocking(context, request, call)) {
        throw unconfirmed(request);
    }
    schedule.Id = *id;
    return schedule;
}

void removeSchedule(const Context& context, int id) {
    const std::string effect = "schedule " + std::to_string(id) + " is removed";
    operate(
        context, {effect, {pa::operations::deleteSchedule}},
        [id] { gPaController.deleteSchedule(id); },
        seen([id] { return !gPaController.findSchedule(id); }));
}

int freeScheduleId() {
    int id = 1;
    while (gPaController.findSchedule(id)) {
        ++id;
    }
    return id;
}

}  // namespace console
