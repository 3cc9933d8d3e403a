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
              "attachedZones": ["A"], "inputGain": -12.5, "priority": 900}],
 "selectors": [{"id": 5, "source": 1, "label": "f", "type": 7, "number": "n", "protection": 2,
                "mode": 1, "dynamicRestriction": 2, "state": 3, "zones": ["A/x"]}],
 "triggers": [{"id": 8, "source": 1, "selector": 5, "label": "t", "type": 9, "subAddress": "k",
               "priority": 7, "timetable": [[0, 1.5], [2, 3]], "repeatEvery": 4}],
 "voices": [{"port": 1, "language": "en", "voice": "Ann", "rate": 48000, "synthesizer": "en+f3"}],
 "longestPreview": 5, "microphone": {"file": "m.wav"},
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
         << item.duration.count() << " " << station.recordings.at(0).path << source.priority;
    EXPECT_EQ(read.str(), "S2 A/x2 11A10 -12.5A Ann 11250 /r.wav900");

    const Selector& selector = station.selectors.at(0);
    const Trigger& trigger = station.triggers.at(0);
    std::ostringstream more;
    more << selector.id << selector.source << selector.label << selector.type << selector.number
         << selector.protection << selector.mode << selector.dynamicRestriction << selector.state
         << selector.zones.at(0) << " " << trigger.id << trigger.source << trigger.selector
         << trigger.label << trigger.type << trigger.subAddress << trigger.priority << " "
         << trigger.timetable.at(0).to.count() << " " << trigger.timetable.at(1).from.count() << " "
         << trigger.repeatEvery.count();
    EXPECT_EQ(more.str(), "51f7n2123A/x 815t9k7 1500 2000 4000");

    EXPECT_EQ(station.voices[0].synthesizer, "en+f3");
    EXPECT_EQ(station.longestPreview, 5);
    EXPECT_EQ(station.microphone.file, (folder / "m.wav").string());
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
"dstNo": 2 => "timeZone": "Mars/Tharsis" | s.json: /timeZone: unknown time zone "Mars/Tharsis"
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
{"id": 8, "source": 1 => {"id": 8, "source": 2 | s.json: /triggers/0/source: unknown source
"selector": 5 => "selector": 6         | s.json: /triggers/0/selector: unknown selector
{"id": 8, => {"id": 8, "source": 1, "label": "", "type": 1}, {"id": 8, | s.json: /triggers/1/id: 8 is given twice
[[0, 1.5] => [[0]                      | s.json: /triggers/0/timetable/0: two times are expected, [from, to]
[[0, 1.5] => [[0, 0]                   | s.json: /triggers/0/timetable/0: times are expected in ascending order
[2, 3] => [1.5, 3]                     | s.json: /triggers/0/timetable/1: times are expected in ascending order
repeatEvery": 4 => repeatEvery": 3     | s.json: /triggers/0/repeatEvery: the timetable is not over by then
{"id": 5, "source": 1 => {"id": 5, "source": 2 | s.json: /selectors/0/source: unknown source
"zones": ["A/x"] => "zones": ["A", "x"] | s.json: /selectors/0/zones/1: unknown zone "x"
{"id": 5, => {"id": 5, "source": 1, "label": "", "type": 1, "zones": []}, {"id": 5, | s.json: /selectors/1/id: 5 is given twice
-12.5 => 42.5                          | s.json: /sources/0/inputGain: out of range, expected -96 to 42
{"port": => {"port": 1, "language": "", "voice": "", "rate": 8000}, {"port": | s.json: /voices/1/port: 1 is given twice
1.25 => -1                             | s.json: /dictionary/0/seconds: out of range, expected 0.001 to 86400.0
"longestPreview": 5 => "longestPreview": 601 | s.json: /longestPreview: out of range, expected 1 to 600
"file": "m.wav" => "file": ""          | s.json: /microphone/file: the name of a file is expected
"file": "m.wav" => "tone": 10          | s.json: /microphone/tone: out of range, expected 20 to 20000
"file": "m.wav" => "tone": 99, "file": "m.wav" | s.json: /microphone: either "file" or "tone" is expected
"file": "m.wav" => "tone": 99, "tone": 9 | s.json: /microphone/tone: the member is given twice
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
