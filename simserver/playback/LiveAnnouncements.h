// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "simserver/playback/Playback.h"
#include "simserver/station/Station.h"

namespace simserver {

/// What opens a source.
enum class Opener { Client, Trigger, SoftwareTrigger };

/// One opening of a source. The number is the id of the trigger for `Trigger`, of the source
/// otherwise.
using Opening = std::pair<Opener, int>;

/// What a source picks up, in zones.
RequestPart livePart(const Source& source, const std::vector<std::string>& zones);

/// A text in the zones that are attached to a source.
RequestPart displayPart(const Source& source, const std::string& text);

/// The live announcements of the openings of sources. The server's lock guards it.
class LiveAnnouncements {
public:
    /// @param playback must outlive the object
    explicit LiveAnnouncements(Playback& playback);

    bool isOpen(const Opening& opening) const;

    /// Begins the announcement of an opening that has none.
    void open(const Opening& opening, int level, const std::vector<RequestPart>& parts);

    /// Begins the announcement of an opening or moves it to these zones; without any it ends.
    /// @param whyEnded outcome in that case
    void follow(const Opening& opening, const Source& source, int level,
                const std::vector<std::string>& zones, const std::string& whyEnded);

    /// Ends the announcement of an opening, if there is one.
    void close(const Opening& opening, const std::string& outcome);

    /// Forgets the announcements that have been cancelled: requests may use their ids.
    void forgetEnded();

private:
    Playback& playback_;
    std::map<Opening, std::string> requestIds_;
};

}  // namespace simserver
