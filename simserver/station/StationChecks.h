#pragma once

#include "simserver/station/ScenarioReader.h"
#include "simserver/station/Station.h"

namespace simserver {

/// Refuses a station whose parts do not fit together: an id given twice, an id of something that is
/// not there, a timetable that does not go forward.
/// @param root of the file that it was read from
/// @throws ScenarioError naming the place
void checkStation(const Station& station, const Place& root);

}  // namespace simserver
