#pragma once

#include "console/text/json.h"

namespace console {

/// Reads a schedule: the same members that are written. What is missing has the value of a new
/// definition.
/// @throws Failure that names the member, when one is not known or has no value of its kind
ScheduleDefinition scheduleFrom(const Json& json);

}  // namespace console
