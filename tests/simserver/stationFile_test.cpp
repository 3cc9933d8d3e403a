#include "simserver/station/StationFile.h"

#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

/// The fields as place=text, without absent ones.
std::string textOf(const pa::RecordFields& fields) {
    std::string text;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        text += fields[i] ? " " + std::to_string(i) + "=" + fields.text(i) : "";
    }
    return text;
}

TEST(StationFile, HoldsWhatTheRecordsReport) {
    constexpr std::time_t epoch = 1'795'269'785;  // 2026-11-21 14:03:05 UTC
    Station station = loadStation(scenarioFile("everyMember"));
    const std::filesystem::path folder = std::filesystem::path(scenarioFile("")).parent_path();
    EXPECT_EQ(std::exchange(station.microphone.file, ""), (folder / "m.wav").string());
    TestClient client;
    SimServer server(station, {1.0, true, {}, {}, epoch});
    server.connectClient(client);
    server.advance(std::chrono::milliseconds(61'999));
    for (const char* const step : {"92/1 1,client-7", "78/5 /home/quillon/tmp/r",
                                   R"(92/17 "a \"b\"",1,50,"2,ip,\"A/x\",1!1,,0^0^0")"}) {
        server.handleOperation(ServerTest::operationIn(step));
    }
    std::string records = "\n";
    for (const auto& [place, fields] : client.last) {
        records += TestClient::rowOf(place.first).name;
        records += " " + std::to_string(place.second) + ":" + textOf(fields) + "\n";
    }
    EXPECT_EQ(records, R"(
source 1: 0=1 1="Room \"1\"" 2="q" 3=10.0.0.4 4=9 6=in 3 7=2 9=client-7 10=3 11=-12.5 12=0 16=2
sink 1: 0=1 1="" 2="s1" 3= 4=1 6= 7=2 9=1 11=0 12=1 15=0 17=1 26="\"A\"" 27=0 28= 31=""
sink 2: 0=2 1="Back\\slash" 2="s2" 3=10.0.0.5 4=10 6=1,2 7=1 9=0 11=-0.5 12=2 15=1 17=4 26="\"A\"^\"a^\\\"b\\\"\"" 27=1 28="A"^"A/x" 31="log"
trigger 8: 0=8 1=1 2=t 3=9 5=k 6=7 7=1 9=5 10=3
selector 5: 0=5 1=1 2=7 4=n 5=Hall 6=2 8=1 10=0 12=3
attached 1: 0="\"A\"^\"a^\\\"b\\\"\""
part 1: 0="server-1" 5=Playing 6=2026-11-21 14:04:06 9="0,\"10.0.0.4\",\"\\\"A\\\"^\\\"a^\\\\\\\"b\\\\\\\"\\\"\",\"1\",,0^0^0" 16=Absolute 900
part 2: 0="recording-2" 5=Recording 6=2026-11-21 14:04:06 19="/home/quillon/tmp/r"
part 3: 0="a \"b\"" 5=Queued 9="2,\"ip\",\"\\\"A/x\\\"\",\"1!1\",,0^0^0" 16=Relative +50
zone 1: 0="A" 2=1 3=Active 4=0 5=Live 6=1 7=Healthy
zone 2: 0="A/x" 2=1 3=Active 4=0 5=Live 6=3 7=Major fault
zone 3: 0="a^\"b\"" 2=1 3=Active 4=0 5=Live 6=1 7=Healthy
zone 4: 0="Z" 2=0 3=Idle 4=7 5=None 6=1 7=Healthy
port 1: 0="en" 1="Ann" 2=22050 3="a \"voice\""
)");
}

TEST(StationFile, NamesThePlaceOfAFault) {
    const TestFolder folder;
    const std::string good = contentOf(scenarioFile("everyMember"));
    // What is replaced in a good file and by what; what is wrong then.
    const auto loadChanged = [&](const std::string& change) {
        return loadStation(folder.write("s.json", changed(good, change))).name;
    };
    expectResults(loadChanged, R"~(
"dstNo": 3, => ,                       | s.json: parse error at line 1, column 15...
"label": "s2" => "label": [{"x": 1}, {"y": {"x": 1, "x": 2}}] | s.json: /sinks/1/label/1/y/x: the member is given twice
"name": "S", => "x": "S",              | s.json: /: "name" is missing
"health": 3 => "health": 3.0           | s.json: /zones/1/health: expected a whole number, found number
"dstNo" => "dstno"                     | s.json: /dstno: unknown member
"name": "S" => "name": "\u0000"        | s.json: /name: a text without NUL is expected
"dstNo": 3 => "timeZone": "Mars/Tharsis" | s.json: /timeZone: unknown time zone "Mars/Tharsis"
"A/x" => " x"                          | s.json: /zones/1/id: a zone id is neither empty nor does it begin with a blank
"zones": ["A"] => "zones": ["B"]       | s.json: /sinks/0/zones/0: unknown zone "B"
ringZones": ["A" => ringZones": ["a"     | s.json: /sinks/1/monitoringZones/0: unknown zone "a"
"selector": 5 => "selector": 6         | s.json: /triggers/0/selector: unknown selector
[2, 3] => [1.5, 3]                     | s.json: /triggers/0/timetable/1: times are expected in ascending order
repeatEvery": 4 => repeatEvery": 3     | s.json: /triggers/0/repeatEvery: the timetable is not over by then
"type": 10 => "type": 11               | s.json: /sinks/1/type: out of range, expected 1 to 10
1.25 => -1                             | s.json: /dictionary/0/seconds: out of range, expected 0.001 to 86400.0
"file": "m.wav" => "tone": 99, "file": "m.wav" | s.json: /microphone: either "file" or "tone" is expected
{"path" => {"path": "/r.wav", "seconds": 1}, {"path" | s.json: /recordings/1/path: "/r.wav" is given twice
)~");
}

TEST(Scenarios, AreValid) {
    for (const auto& scenario : std::filesystem::directory_iterator(PA_SCENARIO_DIR)) {
        EXPECT_NO_THROW(loadStation(scenario)) << scenario;
    }
}

}  // namespace
