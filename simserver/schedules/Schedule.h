#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "simserver/playback/AnnouncementType.h"
#include "simserver/protocol/Request.h"

/// @file
/// A schedule: an announcement that the server plays by itself. Plain values.

namespace simserver {

/// A minute by the clocks of the station.
struct LocalMinute {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
};

/// When a schedule runs: on the days from that of `start` to that of `end`, from the one's time of
/// day to the other's. A window whose end is the earlier time of day passes midnight.
struct RunTimes {
    LocalMinute start;
    LocalMinute end;
    int dayMask = 0;    ///< bit 0 is Monday
    int frequency = 0;  ///< minutes between the runs of a day; 0: once, at the start time
};

/// A display template: its variables with their values, in the order in which they are given.
struct ScreenContent {
    std::vector<std::pair<std::string, std::string>> variables;
    int validity = 0;  ///< seconds
};
using ScheduledContent =
    std::variant<DictionaryContent, SpokenContent, RecordedContent, ScreenContent>;

/// What is heard, or what is shown.
struct SchedulePart {
    const AnnouncementType* type = nullptr;
    std::string origin;
    std::vector<std::string> zones;
    ScheduledContent content;
    std::optional<double> gain;  ///< dB
    std::string chime;           ///< by its number or its text, empty for none
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
