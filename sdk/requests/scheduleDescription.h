// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "resource/common/stringUtils.h"
#include "sdk/ScheduleDefinition.h"

/// @file
/// In the description of a schedule that this SDK has asked for, the UUID of the request precedes
/// the application's text: uuid~description. A waiting request recognises its schedule by it.

namespace pa {

constexpr char requestUUIDEnd = '~';

/// The schedule with the description that the application gave.
inline ScheduleDefinition withoutRequestUUID(const ScheduleDefinition& schedule) {
    ScheduleDefinition reported = schedule;
    std::string& description = reported.descrption;
    TokenReader pieces(description.data(), requestUUIDEnd);
    pieces.next();
    const char* const second = pieces.next();
    const std::size_t size = pieces.size();
    if (second != nullptr && pieces.next() == nullptr) {
        description.assign(second, size);
    } else {
        description = schedule.descrption;
    }
    return reported;
}

/// The text before the first separator of a description: the UUID of the request that made the
/// schedule, when it was made by one. Empty for an empty description.
inline std::string requestUUIDOf(std::string description) {
    const char* const first = TokenReader(description.data(), requestUUIDEnd).next();
    return first != nullptr ? first : std::string();
}

}  // namespace pa
