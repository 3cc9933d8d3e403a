// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "simserver/SimTime.h"
#include "simserver/station/Station.h"

namespace simserver {

/// A change that a timetable makes.
struct TimetableChange {
    SimTime at{0};
    bool active = false;
};

/// The next change of a trigger after a time, which may precede the start; nothing when there is
/// none.
std::optional<TimetableChange> nextChange(const Trigger& trigger, SimTime after);

}  // namespace simserver
