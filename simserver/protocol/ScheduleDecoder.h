#pragma once

#include <string_view>

#include "simserver/schedules/Schedule.h"

namespace simserver {

/// Decodes the payload of operation 92/19:
/// id,description,start: year,month,day,hour,minute,end: the same,dayMask,frequency,1,"",mode,
/// level,[part that is heard][part that is shown] - with nothing between the parts
///
/// A part is type,origin,zone^zone,content,gain,chime. The path of a stored recording and the chime
/// stand there as they are: a path may hold commas, a chime that goes with it may not.
/// @param schedule receives the schedule; when the payload is refused, what was read before the
/// fault
/// @throws Refused naming what is wrong and where, also for days and times that there are not, and
///         for run times that no day fits
void decodeSchedule(std::string_view payload, Schedule& schedule);

}  // namespace simserver
