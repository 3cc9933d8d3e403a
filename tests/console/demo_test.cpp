#include <nlohmann/json.hpp>

#include "tests/console/consoleRun.h"
#include "tests/console/testFiles.h"

namespace {

TEST(Demo, endsAsItAnnounces) {
    const Ran ran = runConsole({"demo", "--format", "json"});
    EXPECT_EQ(ran.code, 0) << ran.err;
    std::multiset<std::string> seen;
    for (const auto& item : nlohmann::json::parse(ran.out)) {
        seen.insert(item["seen"]);
    }
    EXPECT_EQ(seen, (std::multiset<std::string>{"cancelled", "finished", "finished", "finished",
                                                "finished", "pre-empted"}));
}

TEST(Demo, tellsInPlainLinesWhatHappens) {
    const Ran ran = runConsole({"demo"});
    EXPECT_EQ(ran.code, 0) << ran.err;
    EXPECT_TRUE(contains(ran.out, "12 sources, 120 sinks, 40 zones, 7 voices"));
    EXPECT_FALSE(contains(ran.out, "\x1b"));
}

TEST(Demo, failsWhenSomethingDoesNotHappen) {
    // A station without a dictionary: its server refuses the announcements made of it.
    const TestFolder folder;
    const std::string station = folder.write("station.json", R"({
        "name": "Halt", "dstNo": 1,
        "zones": [{"id": "North"}, {"id": "South"}],
        "sinks": [], "sources": [],
        "voices": [{"port": 1, "language": "en", "voice": "Ann", "rate": 48000}],
        "dictionary": []})");
    const Ran ran = runConsole({"demo", "--scenario", station});
    EXPECT_EQ(ran.code, 4) << ran.err;
    EXPECT_TRUE(contains(ran.out, "refused: "));
}

}  // namespace
