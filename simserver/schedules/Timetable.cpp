#include "simserver/schedules/Timetable.h"

namespace simserver {

namespace {

/// The first change behind a time in one round of the timetable.
std::optional<TimetableChange> changeInRound(const Trigger& trigger, SimTime begin,
                                             SimTime behind) {
    for (const Stretch& stretch : trigger.timetable) {
        if (begin + stretch.from > behind) {
            return TimetableChange{begin + stretch.from, true};
        }
        if (begin + stretch.to > behind) {
            return TimetableChange{begin + stretch.to, false};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<TimetableChange> nextChange(const Trigger& trigger, SimTime behind) {
    const SimTime period = trigger.repeatEvery;
    if (period == SimTime{0}) {
        return changeInRound(trigger, SimTime{0}, behind);
    }
    const SimTime begin = behind < SimTime{0} ? SimTime{0} : behind - behind % period;
    const auto change = changeInRound(trigger, begin, behind);
    return change ? change : changeInRound(trigger, begin + period, behind);
}

}  // namespace simserver
