// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
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

    paoperating::AudioRequest audio;  // the file is one of the server
    std::optional<int> source;        // of the file

    // The visual part.
    std::optional<std::string> displayTemplate;
    std::vector<std::string> variables;  // KEY=VALUE
    std::optional<int> validity;         // seconds

    std::optional<int> priority;
    std::optional<AnnouncementPriorityMode> priorityMode;
    std::optional<double> gain;  // dB
    std::optional<std::string> chime;
};

/// Adds the options, which then fill in `o`.
void addScheduleOptions(CLI::App& app, ScheduleOptions& o);

/// The variables of the template.
/// @throws Failure when one is not KEY=VALUE, or a key is given twice
std::map<std::string, std::string> variablesOf(const ScheduleOptions& o);

/// Checks the options of a new schedule as far as that is possible without the server.
/// @throws Failure, or std::invalid_argument
void checkNew(const ScheduleOptions& o);

/// A schedule before anything is chosen: at midnight of every day from the first on.
ScheduleDefinition blankSchedule(const paclient::Date& first);

/// The schedule with what the options choose, and all else as it is. A new audio part replaces the
/// one before; its texts have the voice of those before, unless another one is named.
/// @throws Failure when something does not fit the schedule
/// @throws paclient::LookupError for a zone or a voice that the server does not have
ScheduleDefinition changed(const ScheduleDefinition& schedule, const ScheduleOptions& o);

}  // namespace console
