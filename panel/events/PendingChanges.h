// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "client/Change.h"
#include "client/json.h"
#include "panel/api/zoneRecords.h"

namespace papanel {

struct Services;

/// The changes since the last batch, of each record the last one only. Zones and triggers are
/// written when the batch is made: zones have members that depend on sinks and announcements, and
/// triggers of both kinds may have the same number.
/// For one thread.
class PendingChanges {
public:
    using Json = paclient::Json;

    /// Reads what zones depend on from the controller's caches, and forgets the changes: what the
    /// pages have is replaced.
    void restart();

    /// Ignores what pages do not show.
    void add(const paclient::Change& change, const Services& services);

    /// The lock of a source, as it is now.
    void addLock(int sourceId, const Services& services);
    /// The triggers with a number.
    void addTrigger(int id) { triggers_.insert(id); }

    [[nodiscard]] bool isEmpty() const {
        return changes_.empty() && zones_.empty() && triggers_.empty();
    }

    /// The data of the event, and begins the next batch.
    Json take();

private:
    using Key = std::pair<const char*, std::string>;  // kind and id

    template <class Id>
    void update(const char* kind, const Id& id, Json record);
    template <class Id>
    void remove(const char* kind, const Id& id);
    void put(const char* kind, const std::string& key, Json change);
    void putTriggers();
    void setAnnouncement(const AnnouncementRequest& announcement);
    void removeAnnouncement(int id);
    void markZones(const std::vector<std::string>& zones) {
        zones_.insert(zones.begin(), zones.end());
    }

    ZoneSinks sinks_;
    std::map<std::string, PaZone> knownZones_;
    std::map<int, AnnouncementRequest> announcements_;  // by record number

    std::vector<Json> changes_;
    std::map<std::pair<std::string, std::string>, std::size_t>
        places_;                   // of kind and key in changes_
    std::set<std::string> zones_;  // that have changed
    std::set<int> triggers_;       // numbers
};

}  // namespace papanel
