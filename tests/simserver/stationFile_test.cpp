#include "simserver/StationFile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace {

using namespace simserver;
namespace fs = std::filesystem;

struct StationFileTest : testing::Test {
    ~StationFileTest() override { fs::remove(file); }

    /// Why a file is refused, "accepted" when it is not.
    static std::string refusal(const fs::path& path) {
        try {
            loadStation(path);
            return "accepted";
        } catch (const ScenarioError& error) {
            return error.what();
        }
    }
    std::string refusalOf(const std::string& content) const {
        std::ofstream(file, std::ios::binary) << content;
        return refusal(file);
    }

    /// A good file, in which the first `from` is replaced.
    static std::string with(const std::string& from, const std::string& to) {
        std::string content = R"({"name": "S", "dstNo": 2,
 "zones": [{"id": "A"}, {"id": "A/x", "health": 2}],
 "sinks": [{"id": 1, "location": "l", "label": "s1", "ipAddress": "i", "type": 1, "zones": ["A"]},
           {"id": 2, "location": "l", "label": "s2", "ipAddress": "i", "type": 10, "zones": [],
            "monitoringSinkId": 1, "monitoringZones": ["A"], "monitoringEnabled": true}],
 "sources": [{"id": 1, "location": "l", "label": "q", "ipAddress": "i", "type": 9,
              "attachedZones": ["A"], "inputGain": -12.5}],
 "voices": [{"port": 1, "language": "en", "voice": "Ann", "rate": 48000}],
 "dictionary": [{"item": 1, "text": "t", "seconds": 1.25, "chime": true}],
 "recordings": [{"path": "/r.wav", "seconds": 2}]})";
        const std::size_t place = content.find(from);
        EXPECT_NE(place, std::string::npos) << from;
        return content.replace(place, from.size(), to);
    }

    const fs::path file =
        fs::path(testing::TempDir()) / ("station-" + std::to_string(getpid()) + ".json");
    const std::string head = file.filename().string() + ": ";
};

TEST_F(StationFileTest, ReadsEveryMember) {
    ASSERT_EQ(refusalOf(with("S", "S")), "accepted");
    const Station station = loadStation(file);
    EXPECT_EQ(station.name, "S");
    EXPECT_EQ(station.dstNo, 2);
    EXPECT_EQ(station.zones.at(1).id, "A/x");
    EXPECT_EQ(station.zones.at(1).health, 2);
    EXPECT_EQ(station.sinks.at(1).monitoringSinkId, 1);
    EXPECT_TRUE(station.sinks.at(1).monitoringEnabled);
    EXPECT_EQ(station.sources.at(0).inputGain, -12.5);
    EXPECT_EQ(station.sources.at(0).attachedZones, std::vector<std::string>{"A"});
    EXPECT_EQ(station.voices.at(0).voice, "Ann");
    EXPECT_EQ(station.dictionary.at(0).duration, std::chrono::milliseconds(1250));
    EXPECT_TRUE(station.dictionary.at(0).chime);
    EXPECT_EQ(station.recordings.at(0).path, "/r.wav");
}

TEST_F(StationFileTest, NamesThePlaceOfAFault) {
    struct {
        const char* from;
        const char* to;
        const char* fault;
    } const cases[] = {
        {R"("dstNo": 2,)", "", "accepted"},
        {R"("name": "S",)", "", R"(/: "name" is missing)"},
        {R"("dstNo")", R"("dstno")", "/dstno: unknown member"},
        {R"("dstNo": 2)", R"("dstNo": 0)", "/dstNo: out of range, expected 1 to 2147483647"},
        {R"("name": "S")", R"("name": "S\u0000")", "/name: a text without NUL is expected"},
        {R"([{"id": "A"}, )", R"({"id": "A"}, "x": [)", "/zones: expected a list, found object"},
        {R"({"id": "A"})", R"("A")", "/zones/0: expected an object, found string"},
        {R"("A/x")", R"(" x")",
         "/zones/1/id: a zone id is neither empty nor does it begin with a blank"},
        {R"("A/x")", R"("A")", R"(/zones/1/id: "A" is given twice)"},
        {R"("health": 2)", R"("heath": 2)", "/zones/1/heath: unknown member"},
        {R"("health": 2)", R"("health": 2.0)",
         "/zones/1/health: expected a whole number, found number"},
        {R"("health": 2)", R"("health": 5)", "/zones/1/health: out of range, expected 0 to 4"},
        {R"({"id": 2,)", R"({"id": 1,)", "/sinks/1/id: 1 is given twice"},
        {R"({"id": 2,)", R"({)", R"(/sinks/1: "id" is missing)"},
        {R"("type": 10)", R"("type": 99999999999999999999)",
         "/sinks/1/type: expected a whole number, found number"},
        {R"("zones": ["A"])", R"("zones": ["A", "B"])", R"(/sinks/0/zones/1: unknown zone "B")"},
        {R"("zones": ["A"])", R"("zones": ["A", 5])",
         "/sinks/0/zones/1: expected a text, found number"},
        {R"("monitoringZones": ["A"])", R"("monitoringZones": ["a"])",
         R"(/sinks/1/monitoringZones/0: unknown zone "a")"},
        {R"("monitoringSinkId": 1)", R"("monitoringSinkId": 3)",
         "/sinks/1/monitoringSinkId: unknown sink"},
        {R"("monitoringEnabled": true)", R"("monitoringEnabled": 1)",
         "/sinks/1/monitoringEnabled: expected true or false, found number"},
        {R"("attachedZones": ["A"])", R"("attachedZones": ["A/y"])",
         R"(/sources/0/attachedZones/0: unknown zone "A/y")"},
        {R"("inputGain": -12.5)", R"("inputGain": 42.5)",
         "/sources/0/inputGain: out of range, expected -96 to 42"},
        {R"("seconds": 1.25)", R"("seconds": -1)",
         "/dictionary/0/seconds: out of range, expected 0.001 to 86400.0"},
        {R"("seconds": 2}])", R"("seconds": 2}, {"path": "/r.wav", "seconds": 1}])",
         R"(/recordings/1/path: "/r.wav" is given twice)"},
        {R"("label": "s2")", R"("label": "s2", "label": "s3")",
         "/sinks/1/label: the member is given twice"},
        {R"("dstNo": 2)", R"("name": "T")", "/name: the member is given twice"},
    };
    for (const auto& [from, to, fault] : cases) {
        const std::string expected = fault;
        EXPECT_EQ(refusalOf(with(from, to)), expected == "accepted" ? expected : head + expected);
    }
}

TEST_F(StationFileTest, RefusesWhatIsNoJson) {
    struct {
        const char* content;
        const char* fault;  // its beginning
    } const cases[] = {
        {"", "parse error at line 1, column 1"},
        {"{\n\"name\": }", "parse error at line 2, column 9"},
        {"{\"name\": \"\xFF\"}", "parse error at line 1, column 11"},
        {"[]", "/: expected an object, found array"},
    };
    for (const auto& [content, fault] : cases) {
        const std::string refused = refusalOf(content);
        EXPECT_EQ(refused.rfind(head + fault, 0), 0U) << refused;
    }
    EXPECT_EQ(refusal("/nowhere/at-all.json"), "at-all.json: No such file or directory");
    const fs::path folder = fs::path(testing::TempDir()).parent_path();
    EXPECT_EQ(refusal(folder), folder.filename().string() + ": a file is expected, not a folder");
}

template <class Record, class Key>
std::set<Key> keys(const std::vector<Record>& records, Key Record::*key) {
    std::set<Key> all;
    for (const Record& record : records) {
        all.insert(record.*key);
    }
    return all;
}

TEST(Scenarios, HoldAWholeStation) {
    const Station station = loadStation(fs::path(PA_SCENARIO_DIR) / "central-station.json");
    EXPECT_EQ(station.zones.size(), 40U);
    EXPECT_EQ(station.sinks.size(), 120U);
    EXPECT_EQ(keys(station.sinks, &Sink::type).size(), 10U);
    EXPECT_EQ(station.sources.size(), 12U);
    EXPECT_GE(keys(station.sources, &Source::type).size(), 8U);
    const auto chimes = std::count_if(station.dictionary.begin(), station.dictionary.end(),
                                      [](const DictionaryItem& item) { return item.chime; });
    EXPECT_EQ(chimes, 4);
    EXPECT_EQ(station.dictionary.size(), 64U);
    const auto zones = keys(station.zones, &Zone::id);
    EXPECT_EQ(zones.count("Platform 1") + zones.count("Platform 1/North"), 2U);
    EXPECT_GE(keys(station.voices, &Voice::language).size(), 3U);
    EXPECT_EQ(keys(station.voices, &Voice::rate), (std::set<int>{22050, 48000}));
}

TEST(Scenarios, HoldATram) {
    const Station station = loadStation(fs::path(PA_SCENARIO_DIR) / "tram.json");
    EXPECT_EQ(keys(station.zones, &Zone::id).count("Driver's cab"), 1U);
    EXPECT_EQ(station.voices.size(), 2U);
}

}  // namespace
