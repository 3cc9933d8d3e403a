// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "../framework/api.h"
#include "json.h"
#include "schedules.h"

/// @file
/// Schedules as JSON. Every function may be called from any thread; those that need the server's
/// records take the controller's mutex.

namespace paclient {

/// Reads a schedule, as `toJson` writes it without texts. What is missing has the value of a new
/// definition.
/// @throws std::invalid_argument that names the member, when one is not known or its value is of
///         another kind
PA_API ScheduleDefinition scheduleFrom(const Json& json);

/// The same, with its zones and voices as the server spells them.
/// @throws std::invalid_argument as above; LookupError for a zone or a voice that is not known
PA_API ScheduleDefinition readSchedule(const Json& json);

/// Every schedule of the server, in order of their numbers, as `readSchedules` reads them.
PA_API Json schedulesAsJson();

/// A text as a JSON list, for `readSchedules`. Needs no server.
/// @throws std::invalid_argument when it is no JSON, or no list: "is not JSON: ..."
PA_API Json parseScheduleList(const std::string& text);

/// The schedules of a list; of one that cannot be read, why. Their zones and voices are those of
/// the server, as it spells them.
PA_API std::vector<ImportEntry> readSchedules(const Json& list);

}  // namespace paclient
