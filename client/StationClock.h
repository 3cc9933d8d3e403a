// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "../framework/timeWidth.h"
#include "../sdk/AnnouncementRequest.h"
#include "../sdk/KeyValueMap.h"
#include "Calendar.h"
#include "scheduleTimes.h"

namespace paclient {

/// The clock of a station: the time that its server reported, advanced by the clock of this machine
/// that never jumps, and its time zone. Does not change; may be used from any thread.
class PA_API StationClock {
public:
    /// The time of this machine, in an unknown time zone.
    StationClock();

    /// The clock as a server reports it when a connection begins, which is now: `clock`, the
    /// seconds since 1970 in UTC, `clockMS`, the same in milliseconds, `timeZone`, as in the
    /// time-zone database, and `speed`, seconds of the station in one second. What is missing or
    /// cannot be read is that of this machine, whole seconds, unknown, and 1.
    explicit StationClock(const KeyValueMap& serverInfo);

    /// Seconds since 1970 UTC.
    [[nodiscard]] std::time_t now() const;

    /// Seconds of the station in one second: not 1 at a simulated one.
    [[nodiscard]] double speed() const { return speed_; }

    /// The name of the time zone, empty when it is not known.
    [[nodiscard]] const std::string& timeZone() const { return timeZone_; }

    /// The date at the station now; in UTC when its time zone is not known.
    [[nodiscard]] Date date() const;

    /// A moment by the clocks of the station, with the zone: "2026-12-01T06:00 Europe/Berlin"; in
    /// UTC ("2026-12-01T05:00 UTC") when the time zone is not known.
    [[nodiscard]] std::string momentText(std::time_t moment) const;

    /// A moment that a server reports in UTC, as "2026-12-01 05:00:07", in the same form. Any other
    /// text remains as it is.
    [[nodiscard]] std::string momentText(const std::string& reported) const;

    /// A moment by the clocks of the station to the second, as "2026-12-01T06:00:07"; as above.
    [[nodiscard]] std::string secondText(std::time_t moment) const;

    /// When the schedule runs after a moment: at most so many runs, in the form of `nextRunText`.
    [[nodiscard]] std::vector<std::string> runTexts(const ScheduleDefinition& schedule,
                                                    std::time_t after, std::size_t count) const;

    /// When the schedule runs next, as "2026-12-01T06:00" by the clocks of the station. Empty when
    /// it does not run again, its times cannot be, or the time zone is not known.
    [[nodiscard]] std::string nextRunText(const ScheduleDefinition& schedule) const;

private:
    std::int64_t startMS_;  // since 1970 UTC
    std::int64_t begunMS_;  // monotonic
    double speed_ = 1;
    std::string timeZone_;
    Calendar calendar_;
};

/// The clock of the station whose records `gPaController` holds, which a `Connection` sets each
/// time it begins; that of this machine until then. Both may be called from any thread.
PA_API StationClock stationClock();
PA_API void setStationClock(const StationClock& clock);

/// When a request began to play, by the clock of the station, with its time zone.
PA_API std::string startText(const AnnouncementRequest& request);

}  // namespace paclient
