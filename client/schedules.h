// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "Wait.h"
#include "schedulesCheck.h"

/// @file
/// Schedules of the server: put in, removed and imported, each confirmed by what the server
/// reports. The functions may be called from any thread, but not from a callback.

namespace paclient {

/// Has the server keep a schedule under its number, in place of one that has the number. `AsBefore`
/// when it keeps this very schedule and the schedule has no visual part; how long that is displayed
/// the server does not report, so it is sent again.
/// @throws std::invalid_argument as `checkSchedule`, and when the number is not above 0
/// @throws whatever `wait.whileWaiting` throws
PA_API Confirmation putSchedule(const ScheduleDefinition& schedule, const Wait& wait);

/// What a creation has led to.
struct NewSchedule {
    Confirmation confirmation;  ///< whether the server keeps it
    int id = 0;                 ///< 0 when it is not confirmed
};

/// Has the server keep a new schedule under a number of its choice.
/// @param schedule its number is 0
/// @param wait     of its limit no more than `gMaxServerWaitTimeSeconds` is used
/// @throws as above
PA_API NewSchedule createSchedule(const ScheduleDefinition& schedule, const Wait& wait);

/// Has the server delete a schedule; `AsBefore` when there is none.
/// @throws std::invalid_argument when the number is not above 0
/// @throws whatever `wait.whileWaiting` throws
PA_API Confirmation removeSchedule(int id, const Wait& wait);

/// The lowest number that no schedule has.
PA_API int freeScheduleId();

/// The outcome of an import, so far or in the end.
struct ImportResult {
    /// An entry that the server does not keep.
    struct Failed {
        std::size_t entry;   ///< place in the list, counted from 1
        std::string reason;  ///< for people
    };

    std::size_t imported = 0;    ///< entries that the server keeps
    std::vector<Failed> failed;  ///< in order of the list
    /// Of the entry at which the import ended, because its outcome is unknown; nothing after it was
    /// sent. Nothing when every entry was tried.
    std::optional<std::size_t> unknownEntry;
    Confirmation unknown;  ///< of that entry
};

/// One entry of an import: a schedule, or why there is none.
struct ImportEntry {
    ScheduleDefinition schedule;  ///< meaningless with a fault
    std::string fault;            ///< the entry fails with this when it is not empty
};

/// Puts in one schedule after the other. An entry that is impossible, that is refused, whose number
/// is not above 0 or is in the list before, fails and the others follow. The cost of an entry does
/// not depend on how many there are.
/// @param replaces whether a schedule that has the same number is replaced; else the entry fails
/// @param wait     for each entry
/// @param onEntry  called after each entry with the result so far; may be empty
/// @param result   receives the result, also when `wait.whileWaiting` throws
PA_API void importSchedules(const std::vector<ImportEntry>& entries, bool replaces,
                            const Wait& wait,
                            const std::function<void(const ImportResult&)>& onEntry,
                            ImportResult& result);

}  // namespace paclient
