#include <nlohmann/json.hpp>

#include "tests/console/consoleRun.h"
#include "tests/console/testFiles.h"

namespace {

TEST(Script, stopsAtTheFirstLineThatFails) {
    struct Case {
        std::string content;
        int code;
        std::string message;
        std::size_t lines;  // printed by the commands before
    };
    const Case cases[] = {
        {"# nothing\n\n   \n", 0, "", 0},
        {"\xEF\xBB\xBFlist announcements\r\nget zone Concourse --format json", 0, "", 2},
        {"list announcements\nget zone Nowhere\nlist zones\n", 3, "line 2: there is no zone", 1},
        {"get zone 'open\n", 1, "line 1: the quote ' is not closed", 0},
        {"monitor --seconds 0\n", 0, "", 0},  // a line has no script of its own
        {"--timeout 3\n", 1, "line 1: no command", 0},
        {"status --speed 3\n", 1, "line 1: ", 0},
        {"\n\nstatus --script x\n", 1, "line 3: ", 0},
        {std::string("status\0\n", 8), 1, "line 1: a NUL character", 0},
        {"play --zones Concourse --items 9999 --wait --request-id abcdef", 4, "line 1: request", 1},
    };
    const TestFolder folder;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.content);
        const Ran ran = runConsole({"--script", folder.write("script", c.content)}, "1");
        EXPECT_EQ(ran.code, c.code);
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), c.code == 0 ? 0U : 1U) << ran.err;
        EXPECT_EQ(linesOf(ran.out).size(), c.lines) << ran.out;
    }
    EXPECT_EQ(runConsole({"--script", folder.path().string()}).code, 1);
    EXPECT_EQ(runConsole({"--script", "/nonexistent"}).code, 1);
}

TEST(Script, cancelsWhatItHasPlayed) {
    const TestFolder folder;
    const std::string play = "play --zones Concourse --repeat 1000000 --items 12 --request-id ";
    const Ran ran = runConsole(
        {"--script",
         folder.write("script", play + "first-1\n" + "cancel FIRST-1\n" + play + "second\n" +
                                    "play --zones Concourse --display T --request-id third-3\n" +
                                    "cancel --type dictionary\n" + "list announcements\n")},
        "1");
    EXPECT_EQ(ran.code, 0) << ran.err;
    const auto lines = linesOf(ran.out);
    ASSERT_EQ(lines.size(), 9U) << ran.out;
    EXPECT_EQ(lines[2], "first-1  audio  Cancelled");
    EXPECT_EQ(lines[6], "second   audio  Cancelled");
    EXPECT_TRUE(contains(lines[8], "third-3"));
}

TEST(Monitor, printsOneObjectForEachChangeBesideAScript) {
    const TestFolder folder;
    const std::string script = folder.write(
        "script",
        "play --zones 'Platform 1' --items 12 --repeat 100000 --priority 100 --request-id low-low\n"
        "play --zones 'Platform 1' --items 12 --priority 900 --request-id high-high\n"
        "status\n");
    const Ran ran = runConsole({"monitor", "--format", "json", "--script", script});
    EXPECT_EQ(ran.code, 0) << ran.err;
    EXPECT_TRUE(contains(ran.err, "\"sinks\":120")) << ran.err;  // what the commands print

    std::vector<std::string> requests;
    std::set<std::string> events;
    std::string zoneState;
    for (const std::string& line : linesOf(ran.out)) {
        const auto change = nlohmann::json::parse(line);
        const std::string event = change["event"];
        if (event == "triggerUpdate" || change.value("requestId", "").rfind("server-", 0) == 0) {
            continue;  // of the station's timetable
        }
        events.insert(event);
        if (event == "zoneUpdate" && change["id"] == "Platform 1") {
            zoneState = change["activityText"];
        }
        if (event == "announcementUpdate") {
            requests.push_back(change["requestId"].get<std::string>() + ' ' +
                               change["stateText"].get<std::string>() +
                               change["completionCode"].get<std::string>());
        }
    }
    EXPECT_EQ(events, (std::set<std::string>{"announcementUpdate", "announcementDelete",
                                             "zoneUpdate", "sinkUpdate"}));
    EXPECT_EQ(zoneState, "Idle");
    EXPECT_EQ(requests, (std::vector<std::string>{"low-low Queued", "low-low Playing",
                                                  "high-high Queued", "low-low Pre-empted2",
                                                  "high-high Playing", "high-high Finished0"}));
}

TEST(Monitor, endsWithItsScript) {
    const TestFolder folder;
    const Ran failed =
        runConsole({"monitor", "--script", folder.write("script", "get zone Nowhere\n")});
    EXPECT_EQ(failed.code, 3);
    EXPECT_EQ(failed.out, "");

    const Ran text = runConsole(
        {"monitor", "--script",
         folder.write("script", "play --zones Concourse --items 12 --request-id abcdef\n")});
    EXPECT_EQ(text.code, 0);
    EXPECT_TRUE(contains(text.out, "zoneUpdate          Concourse: Active, Dictionary, Healthy\n"))
        << text.out;
    EXPECT_EQ(runConsole({"monitor", "--seconds", "0"}).code, 0);
}

}  // namespace
