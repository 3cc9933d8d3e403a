// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "include/common/tevlist.h"
#include "sdk/ScheduleDefinition.h"

namespace pa {

/// Decodes the record of a schedule. One that cannot be read is reported.
/// @return nothing when it cannot be read
std::optional<ScheduleDefinition> decodeSchedule(int scheduleId, const TEVlist& list);

}  // namespace pa
