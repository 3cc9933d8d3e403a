#pragma once

#include <string>
#include <vector>

#include "resource/common/stringUtils.h"
#include "sdk/ScheduleDefinition.h"

/// @file
/// In the description of a schedule that this SDK has asked for, the UUID of the request precedes
/// the application's text: uuid~description. A waiting request recognises its schedule by it.

namespace pa {

constexpr char requestUUIDEnd = '~';

/// The schedule with the description that the application gave.
inline ScheduleDefinition withoutRequestUUID(ScheduleDefinition schedule) {
    std::vector<std::string> pieces;
    if (splitStr(schedule.descrption.c_str(), requestUUIDEnd, pieces, false) == 2) {
        schedule.descrption = pieces[1];
    }
    return schedule;
}

/// The text before the first separator of a description: the UUID of the request that made the
/// schedule, when it was made by one. Empty for an empty description.
inline std::string requestUUIDOf(const std::string& description) {
    std::vector<std::string> pieces;
    splitStr(description.c_str(), requestUUIDEnd, pieces, false);
    return pieces.empty() ? std::string() : pieces[0];
}

}  // namespace pa
