#pragma once

#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>

#include "framework/timeWidth.h"
#include "simserver/schedules/Schedule.h"

namespace date {
class time_zone;
}

namespace simserver {

/// The clocks of a station, and when schedules run by them. Does not change; may be used from any
/// thread.
///
/// A local time that is skipped, as by a change to summer time, is taken for the moment right
/// behind the gap; one that comes twice, for the first of them. Runs that fall into one moment are
/// one run.
class Calendar {
public:
    /// @param timeZone as in the time-zone database: "Europe/Berlin"
    /// @throws std::runtime_error when there is none of that name
    explicit Calendar(const std::string& timeZone);

    /// When a minute is that exists.
    std::time_t momentOf(const LocalMinute& minute) const;

    LocalMinute minuteAt(std::time_t moment) const;

    /// The first run behind a moment; nothing when there is no other.
    /// @param times checked ones
    std::optional<std::time_t> nextRun(const RunTimes& times, std::time_t behind) const;

private:
    const date::time_zone* zone_;  // of the database, which stays for ever
};

}  // namespace simserver
