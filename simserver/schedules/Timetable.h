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

/// What the timetable of a trigger does next behind a time, which may lie before the start; nothing
/// when it does no more.
std::optional<TimetableChange> nextChange(const Trigger& trigger, SimTime behind);

}  // namespace simserver
