// SPDX-License-Identifier: Apache-2.0
#include "simserver/station/StationFile.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>

#include "simserver/station/ScenarioReader.h"
#include "simserver/station/StationChecks.h"
#include "simserver/station/strictJson.h"

namespace simserver {

namespace {

constexpr int anyNumber = std::numeric_limits<int>::max();

constexpr Member<Source> sourceMembers[] = {
    {"id", required, whole<&Source::id, 1, anyNumber>},
    {"location", required, text<&Source::location>},
    {"label", required, text<&Source::label>},
    {"ipAddress", required, text<&Source::ipAddress>},
    {"type", required, whole<&Source::type, 1, 9>},
    {"subAddress", optional, text<&Source::subAddress>},
    {"inputGain", optional, decimal<&Source::inputGain, -96, 42>},
    {"broadcastType", optional, whole<&Source::broadcastType, 0, 1>},
    {"health", optional, whole<&Source::health, 0, 2>},
    {"attachedZones", optional, zoneIds<&Source::attachedZones>},
    {"priority", optional, whole<&Source::priority, 0, anyNumber>},
};

constexpr Member<Sink> sinkMembers[] = {
    {"id", required, whole<&Sink::id, 1, anyNumber>},
    {"location", required, text<&Sink::location>},
    {"label", required, text<&Sink::label>},
    {"ipAddress", required, text<&Sink::ipAddress>},
    {"type", required, whole<&Sink::type, 1, 10>},
    {"ampPorts", optional, text<&Sink::ampPorts>},
    {"outputGain", optional, decimal<&Sink::outputGain, -96, 0>},
    {"muteState", optional, whole<&Sink::muteState, 0, 2>},
    {"monitoringSinkId", optional, whole<&Sink::monitoringSinkId, 1, anyNumber>},
    {"health", optional, whole<&Sink::health, 0, 4>},
    {"zones", required, zoneIds<&Sink::zones>},
    {"monitoringEnabled", optional, flag<&Sink::monitoringEnabled>},
    {"monitoringZones", optional, zoneIds<&Sink::monitoringZones>},
    {"mediaLog", optional, text<&Sink::mediaLog>},
};

constexpr Member<Zone> zoneMembers[] = {
    {"id", required, zoneId<&Zone::id>},
    {"health", optional, whole<&Zone::health, 0, 4>},
};

constexpr Member<Trigger> triggerMembers[] = {
    {"id", required, whole<&Trigger::id, 1, anyNumber>},
    {"source", required, whole<&Trigger::source, 1, anyNumber>},
    {"selector", optional, whole<&Trigger::selector, 1, anyNumber>},
    {"label", required, text<&Trigger::label>},
    {"type", required, whole<&Trigger::type, 0, 9>},
    {"subAddress", optional, text<&Trigger::subAddress>},
    {"priority", optional, whole<&Trigger::priority, 0, anyNumber>},
    {"timetable", optional, intervals<&Trigger::timetable>},
    {"repeatEvery", optional, seconds<&Trigger::repeatEvery>},
};

constexpr Member<Selector> selectorMembers[] = {
    {"id", required, whole<&Selector::id, 1, anyNumber>},
    {"source", required, whole<&Selector::source, 1, anyNumber>},
    {"label", required, text<&Selector::label>},
    {"type", required, whole<&Selector::type, 0, 7>},
    {"number", optional, text<&Selector::number>},
    {"protection", optional, whole<&Selector::protection, 0, 2>},
    {"mode", optional, whole<&Selector::mode, 0, 1>},
    {"dynamicRestriction", optional, whole<&Selector::dynamicRestriction, 0, 2>},
    {"state", optional, whole<&Selector::state, 0, 3>},
    {"zones", required, zoneIds<&Selector::zones>},
};

constexpr Member<Voice> voiceMembers[] = {
    {"port", required, whole<&Voice::port, 1, anyNumber>},
    {"language", required, text<&Voice::language>},
    {"voice", required, text<&Voice::voice>},
    {"rate", required, whole<&Voice::rate, 8000, 192000>},
    {"text", optional, text<&Voice::text>},
    {"synthesizer", optional, text<&Voice::synthesizer>},
};

constexpr Member<DictionaryItem> dictionaryMembers[] = {
    {"item", required, whole<&DictionaryItem::item, 1, anyNumber>},
    {"text", required, text<&DictionaryItem::text>},
    {"seconds", required, seconds<&DictionaryItem::duration>},
    {"chime", optional, flag<&DictionaryItem::chime>},
};

constexpr Member<Recording> recordingMembers[] = {
    {"path", required, text<&Recording::path>},
    {"seconds", required, seconds<&Recording::duration>},
};

constexpr Member<Microphone> microphoneMembers[] = {
    {"file", optional, filePath<&Microphone::file>},
    {"tone", optional, whole<&Microphone::tone, 20, 20000>},
};

constexpr Member<Station> stationMembers[] = {
    {"name", required, text<&Station::name>},
    {"timeZone", optional, timeZone<&Station::timeZone>},
    {"dstNo", optional, whole<&Station::dstNo, 1, anyNumber>},
    {"zones", required, objects<&Station::zones, zoneMembers>},
    {"sinks", required, objects<&Station::sinks, sinkMembers>},
    {"sources", required, objects<&Station::sources, sourceMembers>},
    {"triggers", optional, objects<&Station::triggers, triggerMembers>},
    {"selectors", optional, objects<&Station::selectors, selectorMembers>},
    {"voices", required, objects<&Station::voices, voiceMembers>},
    {"dictionary", required, objects<&Station::dictionary, dictionaryMembers>},
    {"recordings", optional, objects<&Station::recordings, recordingMembers>},
    {"longestPreview", optional, whole<&Station::longestPreview, 1, 600>},
    {"microphone", optional, object<&Station::microphone, microphoneMembers>},
};

std::string contentOf(const std::filesystem::path& file) {
    if (std::filesystem::exists(file) && !std::filesystem::is_regular_file(file)) {
        throw ScenarioError("a file is expected, not a folder or a device");
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw ScenarioError(std::generic_category().message(errno));
    }
    std::string content(std::istreambuf_iterator<char>(stream), {});
    if (stream.bad()) {
        throw ScenarioError("cannot be read");
    }
    return content;
}

}  // namespace

Station loadStation(const std::filesystem::path& file) {
    try {
        const nlohmann::json tree = parseStrictly(contentOf(file));
        const Place root{tree, ""};
        Station station = readObject(root, stationMembers);
        checkStation(station, root);
        if (!station.microphone.file.empty()) {
            station.microphone.file = (file.parent_path() / station.microphone.file).string();
        }
        return station;
    } catch (const ScenarioError& error) {
        throw ScenarioError(file.string() + ": " + error.what());
    }
}

}  // namespace simserver
