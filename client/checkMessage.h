// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "../sdk/AnnouncementRequest.h"

namespace paclient {

/// Something that keeps an announcement from being played everywhere at once.
struct Finding {
    /// What is found.
    enum class Kind {
        UnknownZone,   ///< the server has no such zone
        EmptyZone,     ///< no sink belongs to the zone or its sub-zones
        FaultyZone,    ///< the zone, or a sink of it, is faulty or inactive
        BusyZone,      ///< an announcement with a higher priority plays or waits there
        UnknownVoice,  ///< the server cannot speak a text with this language and voice
        UnknownItem,   ///< the server has no such dictionary item, chime or recording
    };

    Kind kind = Kind::UnknownZone;  ///< what is found
    std::string subject;  ///< the zone, "language/voice", the number of the item, or the path
    std::string text;     ///< a sentence for people
};

/// What a server can play, of which it sends no records.
struct Playable {
    std::set<unsigned> items;          ///< of the dictionary
    std::set<int> chimes;              ///< numbers
    std::set<std::string> recordings;  ///< their paths
};

/// Whether a server refuses a request for such a finding, or cannot play it; with any other it
/// plays, later or not everywhere.
PA_API bool isRefused(Finding::Kind kind);

/// A dry run: looks, without asking the server, for problems of playing a message in zones now.
/// The answer is that of the caches of the controller at this moment.
///
/// A relative priority is an offset from a level that only the server knows, so that relative and
/// absolute priorities are not compared. Parts that are not of the same kind (audio, visual) do not
/// keep each other from playing.
///
/// May be called from any thread. Takes the controller's mutex.
/// @param zoneIds as for `Message::playAnnouncement`
/// @param playable without it items, chimes and recordings are not checked
/// @return in the order of `zoneIds`, voices and items after them; empty when nothing was found
PA_API std::vector<Finding> checkMessage(const std::vector<std::string>& zoneIds,
                                         const Message& message,
                                         const std::optional<Playable>& playable = {});

/// Whether a request is known to have a higher priority. Relative and absolute ones are not
/// compared.
PA_API bool isHigher(const AnnouncementRequest& request, const MessagePriority& priority);

/// Whether a zone is another one or its sub-zone, as `Platform 1/North` is of `Platform 1`.
PA_API bool isWithin(const std::string& zone, const std::string& outer);

}  // namespace paclient
