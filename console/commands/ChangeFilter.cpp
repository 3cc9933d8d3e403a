#include "console/commands/ChangeFilter.h"

#include <algorithm>

#include "client/resources.h"
#include "console/commands/playMessage.h"

namespace console {

using namespace paclient;

namespace {

struct KindRow {
    const char* name;
    ChangeKinds kinds;
};

const std::vector<KindRow>& kindRows() {
    static const std::vector<KindRow> rows = {
        {"sources", kinds<Updated<PaSource>, Deleted<PaSource>>()},
        {"sinks", kinds<Updated<PaSink>, Deleted<PaSink>>()},
        {"zones", kinds<Updated<PaZone>, Deleted<PaZone>>()},
        {"triggers", kinds<Updated<PaTrigger>, Deleted<PaTrigger>>()},
        {"selectors", kinds<Updated<PaSelector>, Deleted<PaSelector>>()},
        {"schedules", kinds<Updated<ScheduleDefinition>, Deleted<ScheduleDefinition>>()},
        {"announcements", kinds<Updated<AnnouncementRequest>, Deleted<AnnouncementRequest>>()},
        {"locks", kinds<LockChange>()},
        {"previews", kinds<Retrieval>()},
        {"refusals", kinds<palink::Refusal>()}};
    return rows;
}

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

void ChangeFilter::define(CLI::App& app) {
    std::vector<std::string> names;
    for (const KindRow& row : kindRows()) {
        names.emplace_back(row.name);
    }
    addTexts(app, "--kind", kindNames_, "Only changes of a kind; repeatable", "KIND")
        ->check(oneOf(names));
    addTexts(app, "--zones", zoneNames_, "Only what concerns a zone; repeatable", "ZONES");
    addTexts(app, "--source", sourceNames_, "Only what concerns a source; repeatable", "ID");
}

void ChangeFilter::resolve() {
    for (const std::string& id : zonesFor(zoneNames_)) {
        zones_.insert(id);
    }
    for (const std::string& name : sourceNames_) {
        sources_.insert(findOne(paclient::sources, name).id);
    }
}

ChangeKinds ChangeFilter::kinds() const {
    ChangeKinds wanted;
    for (const KindRow& row : kindRows()) {
        const bool isNamed =
            std::find(kindNames_.begin(), kindNames_.end(), row.name) != kindNames_.end();
        wanted |= isNamed || kindNames_.empty() ? row.kinds : ChangeKinds();
    }
    return wanted;
}

bool ChangeFilter::passes(const Change& change) const {
    const bool isAny = zones_.empty() && sources_.empty();
    return kinds().test(change.index()) &&
           (isAny || std::visit(Concerns{zones_, sources_}, change));
}

}  // namespace console
