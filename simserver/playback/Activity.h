#pragma once

#include <set>
#include <vector>

#include "link/Transport.h"
#include "simserver/playback/PlayEngine.h"
#include "simserver/station/Station.h"

namespace simserver {

/// What plays in each zone, and from which sinks it is heard, as the client was last told. Belongs
/// to its server, whose lock guards it.
class Activity {
public:
    /// @param station must outlive the object
    explicit Activity(const Station& station);

    /// Has the next update tell of a sink that the station says something else of.
    void noteChange(const Sink& sink);

    /// Takes what the engine plays now.
    /// @return the records of sinks and zones that changed
    std::vector<palink::Record> update(const PlayEngine& engine);

    /// The records of every sink, then of every zone.
    std::vector<palink::Record> all() const;

private:
    palink::Record sinkRecordAt(std::size_t i) const;
    palink::Record zoneRecordAt(std::size_t i) const;

    const Station& station_;
    std::vector<bool> sinksPlaying_;                    // by place in the station
    std::set<int> changedSinks_;                        // ids, since the last update
    std::vector<const AnnouncementType*> zonePlaying_;  // by place in the station, null for nothing
};

}  // namespace simserver
