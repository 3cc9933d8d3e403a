// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "client/Change.h"
#include "client/json.h"

namespace papanel {

/// The sinks of each zone, with those of its sub-zones.
class ZoneSinks {
public:
    /// Of no sink.
    ZoneSinks() = default;
    /// Of these.
    explicit ZoneSinks(const std::vector<PaSink>& sinks);

    /// A sink as it is now.
    /// @return the zones whose sinks are others than before
    std::set<std::string> set(const PaSink& sink);
    /// A sink that is withdrawn.
    /// @return as above
    std::set<std::string> remove(int sinkId);

    /// In order of their numbers.
    [[nodiscard]] std::vector<int> of(const std::string& zone) const;

private:
    std::map<std::string, std::set<int>> sinks_;        // by zone
    std::map<int, std::set<std::string>> zonesOfSink_;  // with the zones above
};

/// What the zones of a group have in their names: the text before the last word or number, so that
/// "Platform 1" and "Platform 2" are of the group "Platform"; the whole name where it has one word.
/// A sub-zone is of the group of its zone.
std::string groupOf(const std::string& zone);

/// A zone with `group`, `sinkIds` and `announcement`: the request id, the part and the content, for
/// people, of what plays there, null for nothing.
/// @param playing the announcements that play or wait
paclient::Json recordOf(const PaZone& zone, const ZoneSinks& sinks,
                        const std::vector<AnnouncementRequest>& playing);

}  // namespace papanel
