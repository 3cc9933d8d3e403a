// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "client/Calendar.h"
#include "simserver/playback/PartType.h"
#include "simserver/protocol/Request.h"

/// @file
/// A schedule: an announcement that the server plays by itself. Plain values.

namespace simserver {

using paclient::Calendar;
using paclient::LocalMinute;
using paclient::RunTimes;

/// A display template: its variables with their values, in the order in which they are given.
struct ScreenContent {
    std::vector<std::pair<std::string, std::string>> variables;
    int validity = 0;  ///< seconds
};
using ScheduledContent =
    std::variant<DictionaryContent, SpokenContent, RecordedContent, ScreenContent>;

/// An audio part or a visual part.
struct SchedulePart {
    const PartType* type = nullptr;
    std::string origin;
    std::vector<std::string> zones;
    ScheduledContent content;
    std::optional<double> gain;  ///< dB
    std::string chime;           ///< its number or its text, empty for none
};

struct Schedule {
    int id = 0;               ///< 0 while it has none
    std::string description;  ///< as the client encodes it: a UUID, "~" and a quoted text
    RunTimes times;
    bool relative = false;
    int level = 0;  ///< as given, in the mode above
    std::vector<SchedulePart> parts;
};

}  // namespace simserver
