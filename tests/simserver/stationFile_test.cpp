#include "simserver/StationFile.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "tests/simserver/tables.h"

namespace {

using namespace simserver;
namespace fs = std::filesystem;

struct StationFileTest : testing::Test {
    StationFileTest() { fs::create_directories(folder); }
    ~StationFileTest() override { fs::remove_all(folder); }

    Station load(const std::string& content) const {
        std::ofstream(folder / "s.json", std::ios::binary) << content;
        return loadStation(folder / "s.json");
    }

    const fs::path folder = fs::path(testing::TempDir()) / ("station-" + std::to_string(getpid()));
    const std::string good = R"({"name": "S", "dstNo": 2,
 "zones": [{"id": "A"}, {"id": "A/x", "health": 2}],
 "sinks": [{"id": 1, "location": "l", "label": "s1", "ipAddress": "i", "type": 1, "zones": ["A"]},
           {"id": 2, "location": "l", "label": "s2", "ipAddress": "i", "type": 10, "zones": [],
            "monitoringSinkId": 1, "monitoringZones": ["A"], "monitoringEnabled": true}],
 "sources": [{"id": 1, "location": "l", "label": "q", "ipAddress": "i", "type": 9,
              "attachedZones": ["A"], "inputGain": -12.5}],
 "voices": [{"port": 1, "language": "en", "voice": "Ann", "rate": 48000}],
 "dictionary": [{"item": 1, "text": "t", "seconds": 1.25, "chime": true}],
 "recordings": [{"path": "/r.wav", "seconds": 2}]})";
};

TEST_F(StationFileTest, ReadsEveryMember) {
    const Station station = load(good);
    const Sink& sink = station.sinks.at(1);
    const Source& source = station.sources.at(0);
    const DictionaryItem& item = station.dictionary.at(0);
    std::ostringstream read;
    read << station.name << station.dstNo << " " << station.zones.at(1).id
         << station.zones[1].health << " " << sink.monitoringSinkId << sink.monitoringEnabled
         << sink.monitoringZones.at(0) << sink.type << " " << source.inputGain
         << source.attachedZones.at(0) << " " << station.voices.at(0).voice << " " << item.chime
         << item.duration.count() << " " << station.recordings.at(0).path;
    EXPECT_EQ(read.str(), "S2 A/x2 11A10 -12.5A Ann 11250 /r.wav");
}

TEST_F(StationFileTest, NamesThePlaceOfAFault) {
    // What is replaced in a good file and by what; what is wrong then.
    const auto loadChanged = [this](const std::string& change) {
        const std::size_t arrow = change.find(" => ");
        std::string content = good;
        content.replace(content.find(change.substr(0, arrow)), arrow, change.substr(arrow + 4));
        return load(content).name;
    };
    expectResults(loadChanged, R"~(
"dstNo": 2, => ,                       | s.json: parse error at line 1, column 15...
"dstNo": 2 => "name": "T"              | s.json: /name: the member is given twice
"label": "s2" => "label": "s2", "label": "s3" | s.json: /sinks/1/label: the member is given twice
"name": "S", => "x": "S",              | s.json: /: "name" is missing
"name": "S" => "name": "\u0000"        | s.json: /name: a text without NUL is expected
"dstNo": 2 => "dstNo": 0               | s.json: /dstNo: out of range, expected 1 to 2147483647
"dstNo" => "dstno"                     | s.json: /dstno: unknown member
[{"id": "A"}, => {"id": "A"}, "x": [   | s.json: /zones: expected a list, found object
{"id": "A"} => "A"                     | s.json: /zones/0: expected an object, found string
"A/x" => " x"                          | s.json: /zones/1/id: a zone id is neither empty nor does it begin with a blank
"A/x" => "A"                           | s.json: /zones/1/id: "A" is given twice
"health": 2 => "health": 2.0           | s.json: /zones/1/health: expected a whole number, found number
"zones": ["A"] => "zones": ["B"]       | s.json: /sinks/0/zones/0: unknown zone "B"
{"id": 2, => {"id": 1,                 | s.json: /sinks/1/id: 1 is given twice
"label": "s2" => "label": 2            | s.json: /sinks/1/label: expected a text, found number
SinkId": 1 => SinkId": 3               | s.json: /sinks/1/monitoringSinkId: unknown sink
Zones": ["A"] => Zones": ["a"]         | s.json: /sinks/1/monitoringZones/0: unknown zone "a"
true} => 1}                            | s.json: /sinks/1/monitoringEnabled: expected true or false, found number
attachedZones": ["A"] => attachedZones": ["B"] | s.json: /sources/0/attachedZones/0: unknown zone "B"
-12.5 => 42.5                          | s.json: /sources/0/inputGain: out of range, expected -96 to 42
{"port": => {"port": 1, "language": "", "voice": "", "rate": 8000}, {"port": | s.json: /voices/1/port: 1 is given twice
1.25 => -1                             | s.json: /dictionary/0/seconds: out of range, expected 0.001 to 86400.0
{"path" => {"path": "/r.wav", "seconds": 1}, {"path" | s.json: /recordings/1/path: "/r.wav" is given twice
)~");
    expectResults([](const std::string& path) { return loadStation(path).name; }, R"~(
/nowhere/at-all.json | at-all.json: No such file or directory
/usr                 | usr: a file is expected, not a folder or a device
)~");
}

TEST(Scenarios, HoldAStationAndATram) {
    const Station station = loadStation(fs::path(PA_SCENARIO_DIR) / "central-station.json");
    EXPECT_EQ(station.zones.size(), 40U);
    EXPECT_EQ(station.sinks.size(), 120U);
    EXPECT_EQ(station.sources.size(), 12U);
    EXPECT_EQ(station.dictionary.size(), 64U);
    EXPECT_EQ(loadStation(fs::path(PA_SCENARIO_DIR) / "tram.json").voices.size(), 2U);
}

}  // namespace
