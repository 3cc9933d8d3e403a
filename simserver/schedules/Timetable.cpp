// SPDX-License-Identifier: Apache-2.0
#include "simserver/schedules/Timetable.h"

namespace simserver {

namespace {

/// The first change after a time in one round of the timetable.
std::optional<TimetableChange> changeInRound(const Trigger& trigger, SimTime begin, SimTime after) {
    for (const Interval& interval : trigger.timetable) {
        if (begin + interval.from > after) {
            return TimetableChange{begin + interval.from, true};
        }
        if (begin + interval.to > after) {
            return TimetableChange{begin + interval.to, false};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<TimetableChange> nextChange(const Trigger& trigger, SimTime after) {
    const SimTime period = trigger.repeatEvery;
    if (period == SimTime{0}) {
        return changeInRound(trigger, SimTime{0}, after);
    }
    const SimTime begin = after < SimTime{0} ? SimTime{0} : after - after % period;
    const auto change = changeInRound(trigger, begin, after);
    return change ? change : changeInRound(trigger, begin + period, after);
}

}  // namespace simserver
