#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "simserver/playback/PlayEngine.h"
#include "simserver/station/Station.h"

namespace simserver {

/// What opens a source.
enum class Opener { Client, Trigger, SoftwareTrigger };

/// One opening of a source: by a trigger of this id; by a client, or its software trigger, of the
/// source of this id.
using Opening = std::pair<Opener, int>;

/// What a source picks up, heard in zones.
RequestPart livePart(const Source& source, const std::vector<std::string>& zones);

/// A text that is shown in the zones that are attached to a source.
RequestPart shownPart(const Source& source, const std::string& text);

/// The live announcements that the server has begun. Passive.
class LiveAnnouncements {
public:
    /// @param engine plays them; must outlive the object
    explicit LiveAnnouncements(PlayEngine& engine);

    bool isOpen(const Opening& opening) const;

    /// Begins the announcement of an opening that has none.
    void open(const Opening& opening, const PlayRequest& request, SimTime now);

    /// Has it go on in other zones, at least one.
    void move(const Opening& opening, const std::vector<std::string>& zones, SimTime now);

    /// Ends it, if there is one.
    /// @param outcome why, for people
    void close(const Opening& opening, const std::string& outcome, SimTime now);

    /// Forgets those that have been cancelled: their ids may be given to other requests.
    void forgetEnded();

private:
    PlayEngine& engine_;
    std::map<Opening, std::string> requestIds_;
};

}  // namespace simserver
