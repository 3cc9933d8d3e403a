// SPDX-License-Identifier: Apache-2.0
#include "panel/api/records.h"

#include <algorithm>

#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "panel/Services.h"
#include "panel/api/FaultTimes.h"
#include "panel/api/LockKeeper.h"
#include "panel/api/contentText.h"
#include "panel/api/zoneRecords.h"
#include "panel/audit/utcTime.h"
#include "panel/http/Route.h"

namespace papanel {

using namespace paclient;

namespace {

Json zonesAsJson() {
    const ZoneSinks sinks(allSinks());
    const auto playing = allAnnouncements();
    Json array = Json::array();
    for (const PaZone& zone : allZones()) {
        array.push_back(recordOf(zone, sinks, playing));
    }
    return array;
}

Json locksAsJson(const Services& services, const Caller* caller) {
    Json array = Json::array();
    for (const SourceLock& lock : allLocks()) {
        array.push_back(recordOf(lock, services, caller));
    }
    return array;
}

Json announcementsAsJson(const Services& /*services*/) {
    Json array = Json::array();
    for (const AnnouncementRequest& announcement : allAnnouncements()) {
        array.push_back(recordOf(announcement));
    }
    return array;
}

template <const auto& kind>
Json plainRecords(const Services& services) {
    Json array = Json::array();
    for (const auto& record : kind.all()) {
        array.push_back(recordOf(record, services));
    }
    return array;
}

/// The kinds whose records are the same for every caller.
constexpr std::pair<const char*, Json (*)(const Services&)> plainKinds[] = {
    {sources.many, plainRecords<sources>},     {sinks.many, plainRecords<sinks>},
    {voices.many, plainRecords<voices>},       {announcements.many, announcementsAsJson},
    {triggers.many, plainRecords<triggers>},   {selectors.many, plainRecords<selectors>},
    {schedules.many, plainRecords<schedules>}, {ttsItems.many, plainRecords<ttsItems>},
};

/// The kinds of a page's beginning, in order.
constexpr const char* snapshotKinds[] = {"zones",     "sources",       "sinks",
                                         "voices",    "announcements", "triggers",
                                         "selectors", "schedules",     "locks"};

template <class Device>
Json deviceRecord(const Device& device, const FaultTimes& faults) {
    Json record = toJson(device);
    if (isFaulty(device)) {
        const FaultTimes::Fault fault = faults.of(device);
        record["faultySince"] = utcSecondText(fault.since);
        record["faultyBefore"] = fault.isOlder;
    }
    return record;
}

}  // namespace

Json recordOf(const AnnouncementRequest& announcement) {
    Json record = toJson(announcement);
    record["contentText"] = contentText(announcement);
    return record;
}

// ---------------------------------------------------------------------------------------- devices

Json recordOf(const PaSink& sink, const Services& services) {
    return deviceRecord(sink, services.faults);
}

Json recordOf(const PaSource& source, const Services& services) {
    return deviceRecord(source, services.faults);
}

// ------------------------------------------------------------------------------------------ locks

Json recordOf(const SourceLock& lock, const Services& services, const Caller* caller) {
    Json record = toJson(lock);
    record["heldBy"] = nullptr;
    record["user"] = nullptr;
    record["page"] = nullptr;
    if (lock.lockedUUID.empty()) {
        return record;
    }
    if (lock.lockedUUID != ownUUID()) {
        record["heldBy"] = "another client";
        return record;
    }
    const auto holder = services.locks.holderOf(lock.sourceId);
    const bool isCallers = caller != nullptr && holder && holder->sessionId == caller->sessionId;
    record["heldBy"] = caller == nullptr ? "page" : isCallers ? "this page" : "another page";
    if (holder) {
        record["user"] = holder->user;
        record["page"] = holder->page;
    }
    return record;
}

// ------------------------------------------------------------------------------------- everything

Json recordsOf(const std::string& kind, const Services& services, const Caller* caller) {
    if (kind == zones.many) {
        return zonesAsJson();
    }
    if (kind == locks.many) {
        return locksAsJson(services, caller);
    }
    const auto* const found = std::find_if(std::begin(plainKinds), std::end(plainKinds),
                                           [&](const auto& plain) { return kind == plain.first; });
    return found->second(services);
}

Json snapshotOf(const Services& services) {
    Json snapshot = {{"status", statusOf(services)}};
    for (const char* const kind : snapshotKinds) {
        snapshot[kind] = recordsOf(kind, services);
    }
    return snapshot;
}

}  // namespace papanel
