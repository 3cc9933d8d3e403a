#include <nlohmann/json.hpp>

#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

using nlohmann::json;

/// Every character that means something on the way, and some that mean something to a terminal.
const std::string hostile =
    "\x1b[31mA,b^c!d~e=f \"g\" \\ \n\t\xc2\x9b[J \xe2\x80\xae Z\u00fcrich \xe2\x80\xac";

/// A station whose texts are all hostile.
std::string hostileStation(const TestFolder& folder) {
    const json station = {
        {"name", hostile},
        {"dstNo", 1},
        {"zones", {{{"id", hostile}}, {{"id", "A"}}, {{"id", "A,B"}}, {{"id", "B"}}}},
        {"sinks",
         {{{"id", 1},
           {"location", hostile},
           {"label", hostile},
           {"ipAddress", "192.0.2.1"},
           {"type", 1},
           {"zones", {hostile}}}}},
        {"sources",
         {{{"id", 1},
           {"location", hostile},
           {"label", hostile},
           {"ipAddress", "192.0.2.2"},
           {"type", 2},
           {"attachedZones", {hostile}}}}},
        {"selectors",
         {{{"id", 1}, {"source", 1}, {"label", hostile}, {"type", 3}, {"zones", {hostile}}}}},
        {"triggers", {{{"id", 1}, {"source", 1}, {"label", hostile}, {"type", 3}}}},
        {"voices", {{{"port", 1}, {"language", "en"}, {"voice", "Ann"}, {"rate", 48000}}}},
        {"dictionary", {{{"item", 1}, {"text", hostile}, {"seconds", 1}}}}};
    return folder.write("station.json", station.dump());
}

TEST(HostileStation, neverSpeaksToTheTerminal) {
    const TestFolder folder;
    const std::string station = hostileStation(folder);
    const std::vector<std::string> commands[] = {
        {"status"},
        {"list", "zones"},
        {"list", "sinks"},
        {"get", "zone", hostile},
        {"get", "sink", "1"},
        {"zone", "members", hostile},
        {"list", "triggers"},
        {"list", "selectors"},
        {"get", "trigger", "1"},
        {"source", "zones", "1"},
        {"source", "attach", hostile},
        {"source", "detach", hostile},
        {"source", "vu", hostile + "x"},
        {"zone", "attach", hostile, "A,B", "--source", "1", "--replace"},
        {"zone", "detach", hostile, "--source", hostile},
        {"trigger", "create", "--source", "1", "--priority", "1", "--pre-chime", hostile},
        {"trigger", "activate", hostile},
        {"record", "start", hostile},
        {"preview", hostile, "--language", hostile, "--voice", "x", "--out", hostile},
        {"sim", "lock", "1", "--client", hostile},
        {"get", "zone", "nothing like it"},
        {"play", "--zones", hostile, "--text", hostile, "--wait"},
        {"demo"}};
    for (std::vector<std::string> words : commands) {
        SCOPED_TRACE(words[0]);
        words.insert(words.end(), {"--scenario", station});
        const Ran ran = runConsole(words);
        const std::string all = ran.out + ran.err;
        EXPECT_FALSE(all.empty());
        for (const std::string bad : {"\x1b", "\xc2\x9b", "\xe2\x80", "\t"}) {
            EXPECT_FALSE(contains(all, bad)) << all;
        }
    }
}

TEST(HostileStation, isPlayedToUnderItsOwnNames) {
    struct Case {
        std::vector<std::string> zones;
        std::vector<std::string> played;
    };
    const Case cases[] = {{{hostile}, {hostile}},
                          {{"A,B"}, {"A,B"}},  // a zone, not a list
                          {{"B, a ,B"}, {"B", "A"}},
                          {{"A", "b", "a,b"}, {"A", "B", "A,B"}}};
    const TestFolder folder;
    const std::string station = hostileStation(folder);
    for (const Case& c : cases) {
        std::vector<std::string> words = {"play",       "--items", "1",        "--wait",
                                          "--scenario", station,   "--format", "json"};
        for (const std::string& zone : c.zones) {
            words.insert(words.end(), {"--zones", zone});
        }
        const Ran ran = runConsole(words);
        EXPECT_EQ(ran.code, 0) << ran.err;
        EXPECT_EQ(json::parse(linesOf(ran.out).back())["zones"], c.played);
    }
}

}  // namespace
