#pragma once

#include <optional>
#include <string>

#include "console/Context.h"

/// @file
/// Schedules to and from a file, as JSON.

namespace console {

/// Writes every schedule.
/// @param file nothing for the output
/// @throws Failure when that cannot be written
void exportSchedules(const Context& context, const std::optional<std::string>& file);

struct ScheduleImport {
    std::string file;      ///< "-" for the standard input
    bool replace = false;  ///< schedules that have the same number
};

/// Puts in what a file holds, one after the other, and reports each that fails.
/// @throws Failure when the file cannot be used, when one fails, and when the outcome of one is
///         unknown; nothing after that is sent
void importSchedules(const Context& context, const ScheduleImport& wanted);

}  // namespace console
