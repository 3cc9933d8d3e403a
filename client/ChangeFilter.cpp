// SPDX-License-Identifier: Apache-2.0
#include "client/ChangeFilter.h"

#include <algorithm>

#include "client/records.h"

namespace paclient {

namespace {

/// Whether a change concerns one of the zones or sources.
struct Concerns {
    const std::set<std::string>& zones;
    const std::set<int>& sources;

    bool operator()(const Updated<PaSource>& c) const { return hasSource(c.record.id); }
    bool operator()(const Deleted<PaSource>& c) const { return hasSource(c.id); }
    bool operator()(const LockChange& c) const { return hasSource(c.sourceId); }
    bool operator()(const Updated<PaTrigger>& c) const {
        return hasSource(c.record.associatedSourceId);
    }
    bool operator()(const Updated<PaSelector>& c) const {
        return hasSource(c.record.associatedSourceId) || hasZone(selectorZones(c.record));
    }
    bool operator()(const Updated<PaSink>& c) const { return hasZone(c.record.paZoneList); }
    bool operator()(const Updated<PaZone>& c) const { return hasZone({c.record.id}); }
    bool operator()(const Deleted<PaZone>& c) const { return hasZone({c.id}); }
    bool operator()(const Updated<ScheduleDefinition>& c) const {
        return hasZone(c.record.paZones);
    }
    bool operator()(const Deleted<ScheduleDefinition>& c) const {
        return hasZone(c.record.paZones);
    }
    bool operator()(const Updated<AnnouncementRequest>& c) const { return hasZone(c.record.zones); }
    bool operator()(const Deleted<AnnouncementRequest>& c) const { return hasZone(c.record.zones); }
    template <class Other>
    bool operator()(const Other& /*change*/) const {
        return false;
    }

private:
    bool hasSource(int id) const { return sources.count(id) > 0; }
    bool hasZone(const std::vector<std::string>& ids) const {
        return std::any_of(ids.begin(), ids.end(),
                           [this](const std::string& id) { return zones.count(id) > 0; });
    }
};

}  // namespace

bool ChangeFilter::passes(const Change& change) const {
    const bool isAny = zones.empty() && sources.empty();
    return kinds.test(change.index()) && (isAny || std::visit(Concerns{zones, sources}, change));
}

}  // namespace paclient
