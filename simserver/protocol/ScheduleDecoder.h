// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "simserver/schedules/Schedule.h"

namespace simserver {

/// Decodes the payload of operation 92/19:
/// id,description,start: year,month,day,hour,minute,end: the same,dayMask,frequency,1,"",mode,
/// level,[audio part][visual part] - with nothing between the parts
///
/// A part is type,origin,zone^zone,content,gain,chime. The path of a stored recording and the chime
/// are not encoded: a path may hold commas, a chime of the same part may not.
/// @param schedule receives the schedule; of a refused payload, what precedes the fault
/// @throws Refused naming the field and the fault, also for days and times that do not exist, and
///         for run times that no day fits
void decodeSchedule(std::string_view payload, Schedule& schedule);

}  // namespace simserver
