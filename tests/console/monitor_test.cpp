#include <nlohmann/json.hpp>

#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

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

}  // namespace
