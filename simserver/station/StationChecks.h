// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simserver/station/ScenarioReader.h"
#include "simserver/station/Station.h"

namespace simserver {

/// Refuses an inconsistent station: an id given twice, an id of something that does not exist, a
/// timetable that is not in ascending order.
/// @param root of the file that it was read from
/// @throws ScenarioError naming the place
void checkStation(const Station& station, const Place& root);

}  // namespace simserver
