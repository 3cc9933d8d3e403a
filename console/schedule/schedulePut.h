#pragma once

#include <string>

#include "console/Context.h"
#include "sdk/ScheduleDefinition.h"

namespace console {

/// Numbers under which the server refuses what is asked for schedules.

/// Has the server keep a schedule under its id, and waits until it tells of it. Nothing is sent
/// when it keeps that very schedule already and nothing is shown by it.
/// @return ", as before" when it does, as the end of a sentence, else nothing
/// @throws Failure when the schedule is not sound, when the server refuses it, and when it does not
///         tell of it in time
std::string putSchedule(const Context& context, const ScheduleDefinition& schedule);

/// The same of one to which the server gives its id.
/// @return the schedule with the id
ScheduleDefinition putNewSchedule(const Context& context, ScheduleDefinition schedule);

/// Has the server forget a schedule, and waits until it has.
/// @throws Failure as above
void removeSchedule(const Context& context, int id);

/// The lowest number that no schedule has.
int freeScheduleId();

}  // namespace console
