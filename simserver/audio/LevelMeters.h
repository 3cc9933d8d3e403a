// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <set>

#include "simserver/ServerContext.h"
#include "simserver/playback/PlayEngine.h"

namespace simserver {

/// The level-meter feeds of amplifier elements: ten readings a second, in real time; with manual
/// time in simulated time. A source belongs to the element whose number is its id divided by 100.
/// The server's lock guards it.
class LevelMeters final : public TimedPart {
public:
    /// Both must outlive the object.
    LevelMeters(ServerContext& context, const PlayEngine& engine);

    void subscribe(bool on, int element);

    /// Ends every feed.
    void clear() { elements_.clear(); }

    /// When the next readings are due, in ms of the time by which the meters run; nothing without a
    /// feed.
    std::optional<std::int64_t> nextReading() const;

    /// Reports one reading for each feed if they are due: the loudest source of the element.
    /// Overdue readings are left out.
    void takeDue() override;

    /// When readings are due in simulated time: only with manual time.
    std::optional<SimTime> nextDue() const override;

private:
    std::int64_t nowMS() const;

    ServerContext& context_;
    const PlayEngine& engine_;
    std::set<int> elements_;
    std::int64_t nextMS_ = 0;
    std::size_t count_ = 0;  // of readings
};

}  // namespace simserver
