// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "include/common/tevlist.h"
#include "sdk/ScheduleDefinition.h"
#include "sdk/records/BlankRecord.h"

namespace pa {

/// A schedule record: the schedule, its parts as received, and the lists that are being split.
struct ScheduleRecord : KeepsTexts<ScheduleDefinition, &ScheduleDefinition::paZones> {
    const char* audioPart = "";
    const char* visualPart = "";
    std::size_t badItems = 0;  ///< template items that cannot be read
    std::string numbers;       ///< of a date or a time of day
    std::string part;
    std::string zones;
};

/// Decodes the record of a schedule. One that cannot be read is reported.
/// @param schedule a blank one
/// @return whether it can be read
[[nodiscard]] bool decodeSchedule(int scheduleId, const TEVlist& list, ScheduleRecord& schedule);

}  // namespace pa
