#pragma once

#include "client/json.h"

namespace paclient {

/// Reads a schedule, as `toJson` writes it without texts. What is missing has the value of a new
/// definition.
/// @throws std::invalid_argument that names the member, when one is not known or its value is of
///         another kind
ScheduleDefinition scheduleFrom(const Json& json);

}  // namespace paclient
