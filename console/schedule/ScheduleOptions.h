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

    // What is heard: one of these three.
    std::vector<unsigned> items;
    std::optional<int> repeat;
    std::vector<std::string> texts;
    std::optional<std::string> language;  // of the texts
    std::optional<std::string> voice;
    std::optional<std::string> file;
    std::optional<int> source;

    // What is shown.
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

/// A schedule of which nothing is said yet: at midnight of every day from today on.
ScheduleDefinition blankSchedule();

/// The schedule with what the options say, and all else as it is. What is heard replaces what was
/// heard before. Zones and voices are looked up.
/// @throws Failure when something is not known, or does not go with the schedule
ScheduleDefinition changed(ScheduleDefinition schedule, const ScheduleOptions& options);

}  // namespace console
