// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "client/Change.h"
#include "client/json.h"

/// @file
/// The records as pages receive them: in answers, and in events. May be used from any thread but
/// from a callback; takes the controller's mutex.

namespace papanel {

struct Caller;
struct Services;

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

/// @name A device; while it is faulty with `faultySince`, in UTC, and `faultyBefore`: whether the
/// fault was there with the first report of the device, so that it is older
/// @{
paclient::Json recordOf(const PaSink& sink, const Services& services);
paclient::Json recordOf(const PaSource& source, const Services& services);
/// @}

/// A record that has nothing of the gateway's own.
template <class Record>
paclient::Json recordOf(const Record& record, const Services& /*services*/) {
    return paclient::toJson(record);
}

/// An announcement with `contentText`.
paclient::Json recordOf(const AnnouncementRequest& announcement);

/// A zone with `group`, `sinkIds` and `announcement`: the request id, the part and the content, for
/// people, of what plays there, null for nothing.
/// @param playing the announcements that play or wait
paclient::Json recordOf(const PaZone& zone, const ZoneSinks& sinks,
                        const std::vector<AnnouncementRequest>& playing);

/// A lock with `user` and `page` of the session that has taken it, and `heldBy`: "page", "another
/// client" or null. With a caller "page" is "this page" or "another page": of the caller's session
/// or of another one.
paclient::Json recordOf(const paclient::SourceLock& lock, const Services& services,
                        const Caller* caller = nullptr);

/// All records of a kind, as "zones" or "sources".
paclient::Json recordsOf(const std::string& kind, const Services& services,
                         const Caller* caller = nullptr);

/// The connection, the server, the clock of the station and how much there is.
paclient::Json statusOf(const Services& services);

/// Everything that a page begins with: `status`, and the records of each kind.
paclient::Json snapshotOf(const Services& services);

}  // namespace papanel
