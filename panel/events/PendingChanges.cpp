// SPDX-License-Identifier: Apache-2.0
#include "panel/events/PendingChanges.h"

#include "client/recordText.h"
#include "client/resources.h"
#include "client/scheduleText.h"
#include "panel/api/records.h"

namespace papanel {

using namespace paclient;

namespace {

template <class... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};
template <class... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;

}  // namespace

void PendingChanges::restart() {
    sinks_ = ZoneSinks(allSinks());
    knownZones_.clear();
    for (PaZone& zone : allZones()) {
        const std::string id = zone.id;
        knownZones_.emplace(id, std::move(zone));
    }
    announcements_.clear();
    for (AnnouncementRequest& announcement : allAnnouncements()) {
        const int id = announcement.id;
        announcements_.emplace(id, std::move(announcement));
    }
    take();
}

void PendingChanges::add(const Change& change, const Services& services) {
    const Overloaded visitor{
        [&](const Updated<PaSource>& source) {
            update("sources", source.record.id, recordOf(source.record, services));
        },
        [&](const Deleted<PaSource>& source) { remove("sources", source.id); },
        [&](const Updated<PaSink>& sink) {
            update("sinks", sink.record.id, recordOf(sink.record, services));
            zones_.merge(sinks_.set(sink.record));
        },
        [&](const Deleted<PaSink>& sink) {
            remove("sinks", sink.id);
            zones_.merge(sinks_.remove(sink.id));
        },
        [&](const Updated<PaZone>& zone) {
            knownZones_[zone.record.id] = zone.record;
            zones_.insert(zone.record.id);
        },
        [&](const Deleted<PaZone>& zone) {
            knownZones_.erase(zone.id);
            zones_.insert(zone.id);
        },
        [&](const Updated<AnnouncementRequest>& announcement) {
            setAnnouncement(announcement.record);
            update("announcements", announcement.record.id, recordOf(announcement.record));
        },
        [&](const Deleted<AnnouncementRequest>& announcement) {
            removeAnnouncement(announcement.record.id);
            remove("announcements", announcement.record.id);
        },
        [&](const Updated<PaTrigger>& trigger) { addTrigger(trigger.record.id); },
        [&](const Deleted<PaTrigger>& trigger) { addTrigger(trigger.id); },
        [&](const Updated<PaSelector>& selector) {
            update("selectors", selector.record.id, toJson(selector.record));
        },
        [&](const Deleted<PaSelector>& selector) { remove("selectors", selector.id); },
        [&](const Updated<ScheduleDefinition>& schedule) {
            update("schedules", schedule.record.Id, toJson(described(schedule.record)));
        },
        [&](const Deleted<ScheduleDefinition>& schedule) {
            remove("schedules", schedule.record.Id);
        },
        [&](const LockChange& lock) { addLock(lock.sourceId, services); },
        [](const auto& /*other*/) {}};
    std::visit(visitor, change);
}

void PendingChanges::addLock(int sourceId, const Services& services) {
    update("locks", sourceId, recordOf(lockOf(sourceId), services));
}

PendingChanges::Json PendingChanges::take() {
    std::vector<AnnouncementRequest> playing;
    if (!zones_.empty()) {
        for (const auto& [id, announcement] : announcements_) {
            playing.push_back(announcement);
        }
    }
    for (const std::string& id : zones_) {
        if (const auto zone = knownZones_.find(id); zone != knownZones_.end()) {
            update("zones", id, recordOf(zone->second, sinks_, playing));
        } else {
            remove("zones", id);
        }
    }
    putTriggers();
    Json batch;
    batch["changes"] = std::move(changes_);
    changes_.clear();
    places_.clear();
    zones_.clear();
    triggers_.clear();
    return batch;
}

/// A hardware and a software trigger may have the same number, which a page forgets first.
void PendingChanges::putTriggers() {
    for (const int id : triggers_) {
        remove("triggers", id);
    }
    for (const AnyTrigger& trigger :
         triggers_.empty() ? std::vector<AnyTrigger>() : allTriggers()) {
        if (triggers_.count(trigger.id) != 0) {
            update("triggers", trigger.kind + std::to_string(trigger.id), toJson(trigger));
        }
    }
}

template <class Id>
void PendingChanges::update(const char* kind, const Id& id, Json record) {
    put(kind, valueText(id), {{"kind", kind}, {"op", "update"}, {"record", std::move(record)}});
}

template <class Id>
void PendingChanges::remove(const char* kind, const Id& id) {
    put(kind, valueText(id), {{"kind", kind}, {"op", "delete"}, {"id", id}});
}

void PendingChanges::put(const char* kind, const std::string& key, Json change) {
    const auto [place, isNew] = places_.try_emplace({kind, key}, changes_.size());
    if (isNew) {
        changes_.push_back(std::move(change));
    } else {
        changes_[place->second] = std::move(change);
    }
}

void PendingChanges::setAnnouncement(const AnnouncementRequest& announcement) {
    removeAnnouncement(announcement.id);
    announcements_[announcement.id] = announcement;
    markZones(announcement.zones);
}

void PendingChanges::removeAnnouncement(int id) {
    const auto known = announcements_.find(id);
    if (known != announcements_.end()) {
        markZones(known->second.zones);
        announcements_.erase(known);
    }
}

}  // namespace papanel
