// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "simserver/Options.h"
#include "simserver/SimTime.h"

namespace simserver {

/// The clocks of a simulated server. The server's lock guards it.
class SimClock {
public:
    /// @throws std::invalid_argument for a speed that is not above 0
    explicit SimClock(const Options& options);

    /// Simulated time so far: everything due until now has been done.
    SimTime now() const { return now_; }

    /// Sets `now`, which never decreases.
    void reach(SimTime time);

    /// Simulated time by the real clock; with manual time it is `now`.
    SimTime target() const;

    /// Real time until simulated time reaches a value, in ms.
    double realMSUntil(SimTime time) const;

    /// The wall clock of the server, at `now` and at simulated time 0.
    std::time_t wallTime() const;
    std::time_t epoch() const { return epoch_; }

    /// Simulated seconds in a real one, as text.
    std::string speedText() const;

    bool isManual() const { return manual_; }

private:
    const double speed_;
    const bool manual_;
    const std::time_t epoch_;
    const std::int64_t startMS_;  // real time at simulated time 0
    SimTime now_{0};
};

}  // namespace simserver
