#pragma once

#include "sdk/ScheduleDefinition.h"

/// @file
/// What a schedule must be, so that it can be sent and is the same when the server tells of it.

namespace console {

/// @throws Failure when the schedule is impossible, or would reach the server as something else
///         than what it is
void check(const ScheduleDefinition& schedule);

/// The schedule as the server tells of it: without what is not sent.
ScheduleDefinition asTold(const ScheduleDefinition& sent);

/// Whether they are the same, apart from the time for which something is shown: the controller
/// keeps the first one that it is told.
bool isSame(const ScheduleDefinition& a, const ScheduleDefinition& b);

bool isSpoken(AnnouncementType type);
bool isStored(AnnouncementType type);

}  // namespace console
