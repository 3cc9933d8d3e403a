#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "link/Transport.h"
#include "simserver/playback/PlayEngine.h"
#include "simserver/station/Station.h"

namespace simserver {

/// The level-meter feeds of amplifier elements: ten readings a second. A source belongs to the
/// element whose number is its id divided by 100. Passive: time, in ms, is an argument and never
/// goes back.
class LevelMeters {
public:
    static constexpr std::int64_t periodMS = 100;

    void subscribe(bool on, int element, std::int64_t nowMS);

    /// Ends every feed.
    void clear();

    /// When the next readings are due; nothing without a feed.
    std::optional<std::int64_t> nextReading() const;

    /// One reading for each feed: the loudest of the sources of its element. Some that are overdue
    /// are left out.
    std::vector<palink::LevelReading> read(const Station& station, const PlayEngine& engine,
                                           std::int64_t nowMS);

private:
    std::set<int> elements_;
    std::int64_t nextMS_ = 0;
    std::size_t count_ = 0;  // of readings
};

}  // namespace simserver
