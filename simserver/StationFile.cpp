#include "simserver/StationFile.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>

#include "simserver/JsonFault.h"
#include "simserver/ScenarioReader.h"

namespace simserver {

namespace {

using Json = nlohmann::json;

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

constexpr Member<Voice> voiceMembers[] = {
    {"port", required, whole<&Voice::port, 1, anyNumber>},
    {"language", required, text<&Voice::language>},
    {"voice", required, text<&Voice::voice>},
    {"rate", required, whole<&Voice::rate, 8000, 192000>},
    {"text", optional, text<&Voice::text>},
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

constexpr Member<Station> stationMembers[] = {
    {"name", required, text<&Station::name>},
    {"dstNo", optional, whole<&Station::dstNo, 1, anyNumber>},
    {"zones", required, objects<&Station::zones, zoneMembers>},
    {"sinks", required, objects<&Station::sinks, sinkMembers>},
    {"sources", required, objects<&Station::sources, sourceMembers>},
    {"voices", required, objects<&Station::voices, voiceMembers>},
    {"dictionary", required, objects<&Station::dictionary, dictionaryMembers>},
    {"recordings", optional, objects<&Station::recordings, recordingMembers>},
};

/// Refuses a value of `member` that two elements of a list share.
/// @return the values
template <class Key, class Record>
std::set<Key> distinct(const std::vector<Record>& records, Key Record::*field, const Place& list,
                       const char* member) {
    std::set<Key> seen;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (!seen.insert(records[i].*field).second) {
            const Place place = list.element(i).member(member);
            place.refuse(place.value.dump() + " is given twice");
        }
    }
    return seen;
}

/// Refuses an id in the list `member` of an object when there is no such zone.
void refuseUnknown(const std::vector<std::string>& ids, const std::set<std::string>& zones,
                   const Place& object, const char* member) {
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (zones.count(ids[i]) == 0) {
            object.member(member).element(i).refuse("unknown zone \"" + ids[i] + "\"");
        }
    }
}

void checkReferences(const Station& station, const Place& root) {
    const auto zones = distinct(station.zones, &Zone::id, root.member("zones"), "id");
    const auto sinks = distinct(station.sinks, &Sink::id, root.member("sinks"), "id");
    distinct(station.sources, &Source::id, root.member("sources"), "id");
    distinct(station.voices, &Voice::port, root.member("voices"), "port");
    distinct(station.dictionary, &DictionaryItem::item, root.member("dictionary"), "item");
    if (!station.recordings.empty()) {
        distinct(station.recordings, &Recording::path, root.member("recordings"), "path");
    }
    for (std::size_t i = 0; i < station.sources.size(); ++i) {
        const Place place = root.member("sources").element(i);
        refuseUnknown(station.sources[i].attachedZones, zones, place, "attachedZones");
    }
    for (std::size_t i = 0; i < station.sinks.size(); ++i) {
        const Sink& sink = station.sinks[i];
        const Place place = root.member("sinks").element(i);
        refuseUnknown(sink.zones, zones, place, "zones");
        refuseUnknown(sink.monitoringZones, zones, place, "monitoringZones");
        if (sink.monitoringSinkId != 0 && sinks.count(sink.monitoringSinkId) == 0) {
            place.member("monitoringSinkId").refuse("unknown sink");
        }
    }
}

/// Of two members with the same name the JSON library keeps the last; here that is a mistake.
class RepeatedMembers {
public:
    bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
        if (event == Json::parse_event_t::object_start) {
            open_.emplace_back();
            ++element_;
        } else if (event == Json::parse_event_t::object_end) {
            open_.pop_back();
        } else if (event == Json::parse_event_t::key) {
            note(depth, parsed.get<std::string>());
        }
        return true;
    }

private:
    static constexpr int inRoot = 1;  // depth of the station's members

    void note(int depth, const std::string& name) {
        if (depth == inRoot) {
            list_ = "/" + name;
            element_ = -1;
        }
        if (!open_.back().insert(name).second) {
            const std::string place =
                depth == inRoot ? list_ : list_ + "/" + std::to_string(element_) + "/" + name;
            throw ScenarioError(place + ": the member is given twice");
        }
    }

    std::vector<std::set<std::string>> open_;  // names seen in each object that is being read
    std::string list_;
    int element_ = -1;
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
        const Json tree = Json::parse(contentOf(file), RepeatedMembers());
        const Place root{tree, ""};
        Station station = readObject(root, stationMembers);
        checkReferences(station, root);
        return station;
    } catch (const Json::exception& fault) {
        throw ScenarioError(file.filename().string() + ": " + jsonFault(fault));
    } catch (const ScenarioError& error) {
        throw ScenarioError(file.filename().string() + ": " + error.what());
    }
}

}  // namespace simserver
