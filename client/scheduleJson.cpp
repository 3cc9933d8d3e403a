// SPDX-License-Identifier: Apache-2.0
#include "client/scheduleJson.h"

#include <limits>
#include <map>
#include <stdexcept>

#include "client/choose.h"
#include "client/resources.h"

namespace paclient {

namespace {

[[noreturn]] void fail(const std::string& text) {
    throw std::invalid_argument(text);
}

template <class Record>
void readRecord(const Json& json, Record& record);

// Each of these reads a value of its type, or fails with what would be right.

template <class Number>
void readWhole(const Json& json, Number& value) {
    using Limits = std::numeric_limits<Number>;
    const bool fits = json.is_number_integer() &&
                      (!json.is_number_unsigned() ||
                       json.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max())) &&
                      json.get<std::int64_t>() >= static_cast<std::int64_t>(Limits::min()) &&
                      json.get<std::int64_t>() <= static_cast<std::int64_t>(Limits::max());
    if (!fits) {
        fail("is not a whole number from " + std::to_string(Limits::min()) + " to " +
             std::to_string(Limits::max()));
    }
    value = json.get<Number>();
}

void read(const Json& json, int& value) {
    readWhole(json, value);
}

void read(const Json& json, unsigned& value) {
    readWhole(json, value);
}

void read(const Json& json, double& value) {
    if (!json.is_number()) {
        fail("is not a number");
    }
    value = json.get<double>();
}

void read(const Json& json, std::string& value) {
    if (!json.is_string()) {
        fail("is not a text");
    }
    value = json.get<std::string>();
}

void read(const Json& json, TTSVocalizer& value) {
    readRecord(json, value);
}

template <class Enumeration, class = std::enable_if_t<std::is_enum_v<Enumeration>>>
void read(const Json& json, Enumeration& value) {
    int number = 0;
    read(json, number);
    value = static_cast<Enumeration>(number);
}

template <class Entry>
void read(const Json& json, std::vector<Entry>& value) {
    if (!json.is_array()) {
        fail("is not a list");
    }
    for (const Json& entry : json) {
        read(entry, value.emplace_back());
    }
}

void read(const Json& json, std::map<std::string, std::string>& value) {
    if (!json.is_object()) {
        fail("is not an object");
    }
    for (const auto& entry : json.items()) {
        read(entry.value(), value[entry.key()]);
    }
}

template <class Value>
void readMember(const std::string& name, const Json& json, Value& value) {
    try {
        read(json, value);
    } catch (const std::invalid_argument& fault) {
        fail("the member '" + name + "' " + fault.what());
    }
}

template <class Record>
void readRecord(const Json& json, Record& record) {
    if (!json.is_object()) {
        fail("is not an object");
    }
    for (const auto& entry : json.items()) {
        bool isKnown = false;
        forEachMember(record, [&](const MemberInfo& info, auto& value) {
            if (entry.key() == info.name) {
                isKnown = true;
                readMember(entry.key(), entry.value(), value);
            }
        });
        if (!isKnown) {
            fail("the member '" + entry.key() + "' is not known");
        }
    }
}

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
        fail("is not JSON: " + fault.substr(fault.find("] ") + 2));
    }
    if (!list.is_array()) {
        fail("is not a list of schedules");
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
