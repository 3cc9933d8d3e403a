// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>

#include "../framework/api.h"
#include "../framework/timeWidth.h"

namespace date {
class time_zone;
}

namespace paclient {

/// A minute by the clocks of a station.
struct LocalMinute {
    int year = 0;    ///< for example 2026
    int month = 0;   ///< 1 to 12
    int day = 0;     ///< 1 to 31
    int hour = 0;    ///< 0 to 23
    int minute = 0;  ///< 0 to 59
};

/// When a schedule runs: on the days from that of `start` to that of `end`, from the time of day of
/// the one to that of the other. A window whose end is the earlier time of day passes midnight.
struct RunTimes {
    LocalMinute start;  ///< first day, and the first run of each day
    LocalMinute end;    ///< last day, and the end of each day's runs
    int dayMask = 0;    ///< bit 0 is Monday
    int frequency = 0;  ///< minutes between the runs of a day; 0: once, at the start time
};

/// The time zone of a station, and when schedules run in it. Does not change; may be used from any
/// thread.
///
/// A local time that is skipped, as by a change to summer time, is the moment right after the gap;
/// one that comes twice is the first of them. Runs that fall into one moment are one run.
class PA_API Calendar {
public:
    /// @param timeZone as in the time-zone database: "Europe/Berlin"
    /// @throws std::runtime_error when there is none of that name
    explicit Calendar(const std::string& timeZone);

    /// When a minute is.
    /// @param minute one that exists
    [[nodiscard]] std::time_t momentOf(const LocalMinute& minute) const;

    /// The clocks of the station at a moment, in seconds since 1970 UTC.
    [[nodiscard]] LocalMinute minuteAt(std::time_t moment) const;

    /// The first run after a moment; nothing when there is no other.
    /// @param times dates and times of day that exist
    [[nodiscard]] std::optional<std::time_t> nextRun(const RunTimes& times,
                                                     std::time_t after) const;

private:
    const date::time_zone* zone_;  // of the database, which is never unloaded
};

}  // namespace paclient
