#include <nlohmann/json.hpp>

#include "console/demo/DemoSchedule.h"
#include "sdk/PAController.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

/// Before the controller's worker begins its first sleep.
struct EarlyPauses {
    EarlyPauses() { skipPauses(); }
};
[[gnu::init_priority(101)]] const EarlyPauses earlyPauses;

TEST(Demo, endsAsItAnnounces) {
    const Ran ran = runConsole({"demo", "--format", "json"});
    EXPECT_EQ(ran.code, 0) << ran.err;
    std::multiset<std::string> announcements;
    std::string steps;
    for (const auto& item : nlohmann::json::parse(ran.out)) {
        const std::string seen = item["seen"];
        item.count("requestId") > 0
            ? void(announcements.insert(seen))
            : void(steps += item["name"].get<std::string>() + ": " + seen + '\n');
    }
    EXPECT_EQ(announcements, (std::multiset<std::string>{"cancelled", "finished", "finished",
                                                         "finished", "finished", "pre-empted"}));
    for (const char* const part :
         {"take a source: source 2 is locked by this client (",
          "attach zones: source 2 Deputy's microphone plays in Concourse, Platform 1\n",
          "trigger: played in Control Room, has stopped\n",
          "preview: WAV, 48000 Hz, mono, 16 bit, ",
          "), renewals: ", "release it: source 2 is locked by nobody\n",
          "schedule: played in Staff Rooms, then deleted\n"}) {
        EXPECT_TRUE(contains(steps, part)) << part << " is missing: " << steps;
    }
}

TEST(Demo, reportsInPlainLinesWhatHappens) {
    const Ran ran = runConsole({"demo"});
    EXPECT_EQ(ran.code, 0) << ran.err;
    EXPECT_TRUE(contains(ran.out, "12 sources, 120 sinks, 40 zones, 7 voices"));
    EXPECT_FALSE(contains(ran.out, "\x1b"));
}

TEST(Demo, leavesNoScheduleWhenItEndsEarly) {
    skipPauses();
    std::ostringstream streams;
    console::Output out(streams);
    console::SharedSession connection(console::Settings{}, out);
    const console::Context context{console::Settings{}, out, out, -1, connection};
    context.session();
    console::DemoScreen screen(context, 1);
    { const console::DemoSchedule page(context, screen, "Staff Rooms"); }
    console::runLine(context, {"schedule", "add", "--id", "9", "--zones", "Subway", "--text", "x"},
                     console::LineKind::Shell);
    EXPECT_EQ(gPaController.listSchedules().size(), 1U) << "that of the line";
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
    EXPECT_TRUE(contains(ran.out, "there is no free source"));
    EXPECT_TRUE(contains(ran.err, "7 of 13 steps did not go as expected")) << ran.err;
}

}  // namespace
