// SPDX-License-Identifier: Apache-2.0
#include "client/scheduleJson.h"

#include <stdexcept>

#include "client/choose.h"
#include "client/readJson.h"
#include "client/resources.h"

namespace paclient {

namespace {

/// With the zones and voices as the server spells them.
/// @param zoneIds of all zones
ScheduleDefinition spelledOut(ScheduleDefinition schedule,
                              const std::vector<std::string>& zoneIds) {
    for (std::string& zone : schedule.paZones) {
        zone = zoneIds[findName("zone", zone, zoneIds)];
    }
    for (TTSVocalizer& spoken : schedule.ttsList) {
        const TTSVocalizer voice = chooseVoice(spoken.language, spoken.voice);
        spoken.language = voice.language;
        spoken.voice = voice.voice;
    }
    return schedule;
}

}  // namespace

ScheduleDefinition scheduleFrom(const Json& json) {
    ScheduleDefinition schedule;
    readRecord(json, schedule);
    return schedule;
}

ScheduleDefinition readSchedule(const Json& json) {
    return spelledOut(scheduleFrom(json), memberTexts<&PaZone::id>(allZones()));
}

Json schedulesAsJson() {
    const std::vector<ScheduleEntry> all = allSchedules();
    return toJson(std::vector<ScheduleDefinition>(all.begin(), all.end()), JsonTexts::None);
}

Json parseScheduleList(const std::string& text) {
    Json list;
    try {
        list = Json::parse(text);
    } catch (const Json::exception& error) {
        const std::string fault = error.what();  // after the library's own name for it
        throw std::invalid_argument("is not JSON: " + fault.substr(fault.find("] ") + 2));
    }
    if (!list.is_array()) {
        throw std::invalid_argument("is not a list of schedules");
    }
    return list;
}

std::vector<ImportEntry> readSchedules(const Json& list) {
    const std::vector<std::string> zoneIds = memberTexts<&PaZone::id>(allZones());
    std::vector<ImportEntry> result;
    for (const Json& entry : list) {
        try {
            result.push_back({spelledOut(scheduleFrom(entry), zoneIds), {}});
        } catch (const std::exception& error) {
            result.push_back({{}, error.what()});
        }
    }
    return result;
}

}  // namespace paclient
