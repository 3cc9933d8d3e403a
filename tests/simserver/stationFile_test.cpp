#include "simserver/station/StationFile.h"

#include "simserver/protocol/Records.h"
#include "tests/simserver/tables.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

/// The fields as place=text, without absent ones.
std::string textOf(const pa::RecordFields& fields) {
    std::string text;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        text += fields[i] ? std::to_string(i) + "=" + *fields[i] + " " : "";
    }
    return text;
}

struct StationFileTest : testing::Test {
    Station load(const std::string& content) const {
        return loadStation(folder.write("s.json", content));
    }

    const TestFolder folder;
    const std::string good = R"({"name": "S", "dstNo": 2,
 "zones": [{"id": "A"}, {"id": "A/x", "health": 3}, {"id": "a^\"b\""}],
 "sinks": [{"id": 1, "location": "", "label": "s1", "ipAddress": "", "type": 1, "zones": ["A"]},
           {"id": 2, "location": "Back\\slash", "label": "s2", "ipAddress": "10.0.0.5", "type": 10,
            "zones": ["A", "a^\"b\""], "ampPorts": "1,2", "outputGain": -0.5, "muteState": 2,
            "monitoringSinkId": 1, "monitoringZones": ["A", "A/x"], "monitoringEnabled": true,
            "health": 4, "mediaLog": "log"}],
 "sources": [{"id": 1, "location": "Room \"1\"", "label": "q", "ipAddress": "10.0.0.4", "type": 9,
              "attachedZones": ["A", "a^\"b\""], "inputGain": -12.5, "priority": 900,
              "subAddress": "in 3", "broadcastType": 0, "health": 2}],
 "selectors": [{"id": 5, "source": 1, "label": "Hall", "type": 7, "number": "n", "protection": 2,
                "mode": 1, "dynamicRestriction": 0, "state": 3, "zones": ["A/x"]}],
 "triggers": [{"id": 8, "source": 1, "selector": 5, "label": "t", "type": 9, "subAddress": "k",
               "priority": 7, "timetable": [[0, 1.5], [2, 3]], "repeatEvery": 4}],
 "voices": [{"port": 1, "language": "en", "voice": "Ann", "rate": 22050, "text": "a \"voice\"",
             "synthesizer": "en+f3"}],
 "longestPreview": 5, "microphone": {"file": "m.wav"},
 "dictionary": [{"item": 1, "text": "t", "seconds": 1.25, "chime": true}],
 "recordings": [{"path": "/r.wav", "seconds": 2}]})";
};

TEST_F(StationFileTest, ReadsWhatTheRecordsReport) {
    Station station = load(good);
    Source& source = station.sources.at(0);
    const std::string lists = R"("\"A\"^\"a^\\\"b\\\"\"" )";
    EXPECT_EQ(textOf(sourceRecord(source, "client-7", 3)),
              R"(0=1 1="Room \"1\"" 2="q" 3=10.0.0.4 4=9 6=in 3 7=2 )"
              "9=client-7 10=3 11=-12.5 12=0 16=2 ");
    EXPECT_EQ(textOf(attachedZonesRecord(source)), "0=" + lists);
    source.attachedZones.clear();
    EXPECT_EQ(*sourceRecord(source, "", 3)[7], "1");
    EXPECT_EQ(textOf(attachedZonesRecord(source)), "");

    const Sink& sink = station.sinks.at(1);
    const std::string head = R"(0=2 1="Back\\slash" 2="s2" 3=10.0.0.5 4=10 6=1,2 )";
    const std::string tail =
        "11=-0.5 12=2 15=1 17=4 26=" + lists + R"(27=1 28="A"^"A/x" 31="log" )";
    EXPECT_EQ(textOf(sinkRecord(sink, false)), head + "7=1 9=0 " + tail);
    EXPECT_EQ(textOf(sinkRecord(sink, true)), head + "7=2 9=1 " + tail);

    Trigger& trigger = station.triggers.at(0);
    EXPECT_EQ(textOf(triggerRecord(trigger, 3)), "0=8 1=1 2=t 3=9 5=k 6=7 7=1 9=5 10=3 ");
    trigger.active = true;
    EXPECT_EQ(*triggerRecord(trigger, 3)[7], "2");
    EXPECT_EQ(textOf(selectorRecord(station.selectors.at(0))),
              "0=5 1=1 2=7 4=n 5=Hall 6=2 8=1 10=0 12=3 ");
    EXPECT_EQ(textOf(zoneRecord(station.zones.at(0), nullptr)),
              R"(0="A" 2=0 3=Idle 4=7 5=None 6=1 7=Healthy )");
    EXPECT_EQ(textOf(zoneRecord(station.zones[1], findType(9))),
              R"(0="A/x" 2=1 3=Active 4=9 5=Display template 6=3 7=Major fault )");
    EXPECT_EQ(textOf(voiceRecord(station.voices.at(0))),
              R"(0="en" 1="Ann" 2=22050 3="a \"voice\"" )");

    // What no record reports.
    const DictionaryItem& item = station.dictionary.at(0);
    std::ostringstream more;
    more << station.name << station.dstNo << " " << station.selectors[0].zones.at(0) << " "
         << trigger.timetable.at(0).to.count() << " " << trigger.timetable.at(1).from.count() << " "
         << trigger.repeatEvery.count() << " " << item.item << item.text << item.chime << " "
         << item.duration.count() << " " << station.recordings.at(0).path << " " << source.priority
         << " " << station.voices[0].synthesizer << " " << station.longestPreview;
    EXPECT_EQ(more.str(), "S2 A/x 1500 2000 4000 1t1 1250 /r.wav 900 en+f3 5");
    EXPECT_EQ(station.microphone.file, (folder.path() / "m.wav").string());
}

TEST_F(StationFileTest, NamesThePlaceOfAFault) {
    // What is replaced in a good file and by what; what is wrong then.
    const auto loadChanged = [this](const std::string& change) {
        return load(changed(good, change)).name;
    };
    expectResults(loadChanged, R"~(
"dstNo": 2, => ,                       | s.json: parse error at line 1, column 15...
"dstNo": 2 => "name": "T"              | s.json: /name: the member is given twice
"label": "s2" => "label": "s2", "label": "s3" | s.json: /sinks/1/label: the member is given twice
"label": "s2" => "label": [{"x": 1}, {"y": {"x": 1, "x": 2}}] | s.json: /sinks/1/label/1/y/x: the member is given twice
"label": "s2" => "label": "s2", "label": | s.json: /sinks/1/label: the member is given twice
"label": "s2" => "label": , "label": ""  | s.json: parse error at line 4, column 58...
"name": "S", => "x": "S",              | s.json: /: "name" is missing
"name": "S" => "name": "\u0000"        | s.json: /name: a text without NUL is expected
"dstNo": 2 => "dstNo": 0               | s.json: /dstNo: out of range, expected 1 to 2147483647
"dstNo": 2 => "timeZone": "Mars/Tharsis" | s.json: /timeZone: unknown time zone "Mars/Tharsis"
"dstNo" => "dstno"                     | s.json: /dstno: unknown member
[{"id": "A"}, => {"id": "A"}, "x": [   | s.json: /zones: expected a list, found object
{"id": "A"} => "A"                     | s.json: /zones/0: expected an object, found string
"A/x" => " x"                          | s.json: /zones/1/id: a zone id is neither empty nor does it begin with a blank
"A/x" => "A"                           | s.json: /zones/1/id: "A" is given twice
"health": 3 => "health": 3.0           | s.json: /zones/1/health: expected a whole number, found number
"zones": ["A"] => "zones": ["B"]       | s.json: /sinks/0/zones/0: unknown zone "B"
{"id": 2, => {"id": 1,                 | s.json: /sinks/1/id: 1 is given twice
"label": "s2" => "label": 2            | s.json: /sinks/1/label: expected a text, found number
SinkId": 1 => SinkId": 3               | s.json: /sinks/1/monitoringSinkId: unknown sink
ringZones": ["A" => ringZones": ["a"     | s.json: /sinks/1/monitoringZones/0: unknown zone "a"
Enabled": true => Enabled": 1          | s.json: /sinks/1/monitoringEnabled: expected true or false, found number
attachedZones": ["A" => attachedZones": ["B" | s.json: /sources/0/attachedZones/0: unknown zone "B"
{"id": 8, "source": 1 => {"id": 8, "source": 2 | s.json: /triggers/0/source: unknown source
"selector": 5 => "selector": 6         | s.json: /triggers/0/selector: unknown selector
{"id": 8, => {"id": 8, "source": 1, "label": "", "type": 1}, {"id": 8, | s.json: /triggers/1/id: 8 is given twice
[[0, 1.5] => [[0]                      | s.json: /triggers/0/timetable/0: two times are expected, [from, to]
[[0, 1.5] => [[0, 0]                   | s.json: /triggers/0/timetable/0: times are expected in ascending order
[2, 3] => [1.5, 3]                     | s.json: /triggers/0/timetable/1: times are expected in ascending order
repeatEvery": 4 => repeatEvery": 3     | s.json: /triggers/0/repeatEvery: the timetable is not over by then
{"id": 5, "source": 1 => {"id": 5, "source": 2 | s.json: /selectors/0/source: unknown source
["A/x"]}], => ["A", "x"]}],            | s.json: /selectors/0/zones/1: unknown zone "x"
{"id": 5, => {"id": 5, "source": 1, "label": "", "type": 1, "zones": []}, {"id": 5, | s.json: /selectors/1/id: 5 is given twice
"type": 10 => "type": 11               | s.json: /sinks/1/type: out of range, expected 1 to 10
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

TEST(Scenarios, AreValid) {
    EXPECT_EQ(loadStation(PA_SCENARIO_DIR "/central-station.json").sinks.size(), 120U);
    EXPECT_EQ(loadStation(PA_SCENARIO_DIR "/tram.json").voices.size(), 2U);
}

TEST(Records, ReportWhatPlaysAndHowItEnds) {
    constexpr std::time_t epoch = 1'795'269'785;  // 2026-11-21 14:03:05 UTC
    PlayPart part;
    part.requestId = "request \"1\"";
    part.priority = "Relative +50";
    part.outcome = "why, \"so\"";
    const DictionaryContent content{{12, 40}, 1};
    part.request = {findType(2), "10.0.0.9", {"Hall", "a^\"b\""}, content, {}, 0, 0};
    const std::string id = R"(0="request \"1\"" )";
    const std::string same = R"(9="2,\"10.0.0.9\",\"\\\"Hall\\\"^\\\"a^\\\\\\\"b\\\\\\\"\\\"\",)"
                             R"(\"12^40!1\",,0^0^0" 16=Relative +50 )";
    EXPECT_EQ(textOf(announcementRecord(part, epoch)), id + "5=Queued " + same);
    part.start = SimTime(61'999);
    part.state = PartState::Failed;
    EXPECT_EQ(textOf(announcementRecord(part, epoch)),
              id + "5=Failed 6=2026-11-21 14:04:06 " + same + R"(18=3 19="why, \"so\"" )");
}

}  // namespace
