#pragma once

#include <string>

#include "console/schedule/scheduleTimes.h"
#include "sdk/KeyValueMap.h"

/// @file
/// The time of the station that the console is connected to.

namespace console {

/// Takes over what a server says of its time when a connection begins: `clock`, the seconds since
/// 1970 in UTC, and `timeZone`, that of its station. A server that says nothing has the time of
/// this machine and no time zone.
/// @param speed seconds of the station in one second
void setStationClock(const KeyValueMap& serverInfo, double speed);

/// The date at the station now; in UTC when its time zone is not known.
Date stationDate();

/// When the schedule runs next, as `2026-12-01T06:00` by the clocks of the station. Empty when it
/// does not run any more, or the time zone is not known.
std::string nextRunText(const ScheduleDefinition& schedule);

}  // namespace console
