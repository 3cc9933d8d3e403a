// SPDX-License-Identifier: Apache-2.0
#include "panel/api/zoneRecords.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "client/Announcement.h"
#include "client/checkMessage.h"
#include "panel/api/contentText.h"

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

}  // namespace

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

Json recordOf(const PaZone& zone, const ZoneSinks& sinks,
              const std::vector<AnnouncementRequest>& playing) {
    Json record = toJson(zone);
    record["group"] = groupOf(zone.id);
    record["sinkIds"] = sinks.of(zone.id);
    record["announcement"] = playingIn(zone.id, playing);
    return record;
}

}  // namespace papanel
