// SPDX-License-Identifier: Apache-2.0
#include "panel/api/records.h"

#include <algorithm>
#include <iterator>

#include "client/Announcement.h"
#include "client/StationClock.h"
#include "client/checkMessage.h"
#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "framework/clock.h"
#include "panel/Services.h"
#include "panel/api/FaultTimes.h"
#include "panel/api/LockKeeper.h"
#include "panel/api/contentText.h"
#include "panel/http/Route.h"
#include "sdk/PAController.h"

namespace papanel {

using namespace paclient;

namespace {

/// A zone and those above it: "A/B/C", "A/B" and "A".
std::set<std::string> withOuterZones(const std::vector<std::string>& zones) {
    std::set<std::string> all;
    for (const std::string& zone : zones) {
        for (std::size_t end = zone.size(); end != std::string::npos && end > 0;
             end = zone.rfind('/', end - 1)) {
            all.insert(zone.substr(0, end));
        }
    }
    return all;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// What plays in a zone: of several the one that has begun last, audio before what is displayed.
Json playingIn(const std::string& zone, const std::vector<AnnouncementRequest>& active) {
    const AnnouncementRequest* found = nullptr;
    const auto rank = [](const AnnouncementRequest& record) {
        return std::make_pair(record.getAudioMessageType() != Message::NONE, record.id);
    };
    for (const AnnouncementRequest& record : active) {
        const bool isHere =
            stateOf(record) == Announcement::State::Playing &&
            std::any_of(record.zones.begin(), record.zones.end(),
                        [&](const std::string& its) { return isWithin(zone, its); });
        if (isHere && (found == nullptr || rank(*found) < rank(record))) {
            found = &record;
        }
    }
    return found == nullptr ? Json()
                            : Json{{"requestId", found->getRequestID()},
                                   {"part", partName(*found)},
                                   {"content", contentText(*found)}};
}

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
constexpr const char* pageKinds[] = {"zones",     "sources",       "sinks",
                                     "voices",    "announcements", "triggers",
                                     "selectors", "schedules",     "locks"};

/// A moment of this machine as in ISO 8601.
std::string momentText(std::time_t moment) {
    return StationClock().secondText(moment) + 'Z';
}

template <class Device>
Json deviceRecord(const Device& device, const FaultTimes& faults) {
    Json record = toJson(device);
    if (isFaulty(device)) {
        const FaultTimes::Fault fault = faults.of(device);
        record["faultySince"] = momentText(fault.since);
        record["faultyBefore"] = fault.isOlder;
    }
    return record;
}

Json serverInfoOf(const Services& services) {
    Json server = Json::object();
    const KeyValueMap info = services.connection.serverInfo();
    for (const std::string& key : info.get_all_keys()) {
        server[key] = info.get_value(key);
    }
    return server;
}

}  // namespace

// ------------------------------------------------------------------------------------------ zones

ZoneSinks::ZoneSinks(const std::vector<PaSink>& sinks) {
    for (const PaSink& sink : sinks) {
        set(sink);
    }
}

std::set<std::string> ZoneSinks::set(const PaSink& sink) {
    std::set<std::string> now = withOuterZones(sink.paZoneList);
    const std::set<std::string> before = std::exchange(zonesOfSink_[sink.id], now);
    std::set<std::string> changed;
    std::set_symmetric_difference(before.begin(), before.end(), now.begin(), now.end(),
                                  std::inserter(changed, changed.end()));
    for (const std::string& zone : before) {
        sinks_[zone].erase(sink.id);
    }
    for (const std::string& zone : now) {
        sinks_[zone].insert(sink.id);
    }
    return changed;
}

std::set<std::string> ZoneSinks::remove(int sinkId) {
    PaSink none;
    none.id = sinkId;
    std::set<std::string> changed = set(none);
    zonesOfSink_.erase(sinkId);
    for (const std::string& zone : changed) {
        if (sinks_[zone].empty()) {
            sinks_.erase(zone);
        }
    }
    return changed;
}

std::vector<int> ZoneSinks::of(const std::string& zone) const {
    const auto found = sinks_.find(zone);
    return found == sinks_.end() ? std::vector<int>()
                                 : std::vector<int>(found->second.begin(), found->second.end());
}

std::string groupOf(const std::string& zone) {
    const std::string name = zone.substr(0, zone.find('/'));
    std::size_t end = name.size();
    if (end > 0 && isDigit(name[end - 1])) {
        end = name.find_last_not_of("0123456789") + 1;
    } else {
        const std::size_t blank = name.find_last_of(' ');
        end = blank == std::string::npos ? end : blank;
    }
    const std::size_t last = name.find_last_not_of(" -_.", end == 0 ? 0 : end - 1);
    const std::string group = end == 0 || last == std::string::npos ? "" : name.substr(0, last + 1);
    return group.empty() ? name : group;
}

Json recordOf(const AnnouncementRequest& announcement) {
    Json record = toJson(announcement);
    record["contentText"] = contentText(announcement);
    return record;
}

Json recordOf(const PaZone& zone, const ZoneSinks& sinks,
              const std::vector<AnnouncementRequest>& playing) {
    Json record = toJson(zone);
    record["group"] = groupOf(zone.id);
    record["sinkIds"] = sinks.of(zone.id);
    record["announcement"] = playingIn(zone.id, playing);
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

Json statusOf(const Services& services) {
    const Connection& connection = services.connection;
    const bool isSynced = connection.isSynced();
    const auto away = connection.awayFor();
    const auto awaySeconds = std::chrono::duration_cast<std::chrono::seconds>(away).count();
    const StationClock clock = stationClock();
    Json counts = Json::object();
    counts["zones"] = gPaController.getPaZones().size();
    counts["sources"] = gPaController.getPaSources().size();
    counts["sinks"] = gPaController.getPaSinks().size();
    counts["voices"] = gPaController.getTTSVocalizerList().size();
    counts["triggers"] = allTriggers().size();
    counts["selectors"] = gPaController.getPaSelectors().size();
    counts["schedules"] = gPaController.listSchedules().size();
    counts["ttsItems"] = gPaController.getTTSDictionaryList().size();
    counts["announcements"] = gPaController.getAnnouncementRequests().size();
    const auto link = services.connection.endpoint().report();
    return {{"connected", services.connection.link().isConnected()},
            {"synced", isSynced},
            {"awayForMs", away.count()},
            {"awaySince", isSynced ? Json() : Json(momentText(pa::wallClock() - awaySeconds))},
            {"reason", isSynced ? "" : connection.lossReason()},
            {"server", serverInfoOf(services)},
            {"address", services.connection.endpoint().name()},
            {"link", link ? toJson(*link) : Json()},
            {"time", momentText(pa::wallClock())},
            {"stationTime", clock.secondText(clock.now())},
            {"timeZone", clock.timeZone()},
            {"speed", clock.speed()},
            {"counts", counts}};
}

Json snapshotOf(const Services& services) {
    Json snapshot = {{"status", statusOf(services)}};
    for (const char* const kind : pageKinds) {
        snapshot[kind] = recordsOf(kind, services);
    }
    return snapshot;
}

}  // namespace papanel
