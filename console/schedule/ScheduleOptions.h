#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/scheduleTimes.h"
#include "console/arguments/options.h"

namespace console {

/// What is asked for a schedule: the values of the options that are given.
struct ScheduleOptions {
    std::optional<std::string> description;
    paclient::DateTime from;
    paclient::DateTime until;
    std::optional<int> dayMask;
    std::optional<int> every;  // minutes
    std::vector<std::string> zones;

    AudioRequest audio;         // the file is one of the server
    std::optional<int> source;  // of the file

    // The visual part.
    std::optional<std::string> displayTemplate;
    std::vector<std::string> variables;  // KEY=VALUE
    std::optional<int> validity;         // seconds

    std::optional<int> priority;
    std::optional<AnnouncementPriorityMode> priorityMode;
    std::optional<double> gain;  // dB
    std::optional<std::string> chime;
};

/// Adds the options to a parser, which then fills in `options`.
void addScheduleOptions(CLI::App& app, ScheduleOptions& options);

/// A schedule before anything is chosen: at midnight of every day from today on.
ScheduleDefinition blankSchedule();

/// The schedule with what the options choose, and all else as it is. A new audio part replaces the
/// one before. Zones and voices are looked up.
/// @throws Failure when something is not known, or does not fit the schedule
ScheduleDefinition changed(ScheduleDefinition schedule, const ScheduleOptions& options);

}  // namespace console
