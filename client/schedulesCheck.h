// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../framework/api.h"
#include "../sdk/ScheduleDefinition.h"

/// @file
/// What a schedule must be so that it can be sent, and is the same when the server reports it.
/// Every function may be called from any thread.

namespace paclient {

/// @throws std::invalid_argument when the schedule is impossible, or when the server would report
///         another one than this: a text that is not UTF-8, begins with a blank, or has separators
///         where it is sent as it is; members that do not belong to its contents
PA_API void checkSchedule(const ScheduleDefinition& schedule);

/// The schedule as the server reports it: without what is not sent.
PA_API ScheduleDefinition asReported(const ScheduleDefinition& sent);

/// Whether they are the same, apart from how long its visual part is displayed: of that the
/// controller keeps the value that was reported first.
PA_API bool isSame(const ScheduleDefinition& a, const ScheduleDefinition& b);

/// Whether it is text-to-speech.
PA_API bool isSpoken(AnnouncementType type);
/// Whether it is a recorded file.
PA_API bool isStored(AnnouncementType type);

}  // namespace paclient
