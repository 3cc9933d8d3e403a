// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "client/resources.h"
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
        item["requestId"] != ""
            ? void(announcements.insert(seen))
            : void(steps += item["name"].get<std::string>() + ": " + seen + '\n');
    }
    EXPECT_EQ(announcements, (std::multiset<std::string>{"cancelled", "finished", "finished",
                                                         "finished", "finished", "pre-empted"}));
    for (const char* const part :
         {"take a source: source 2 is locked by this client (",
          "attach zones: source 2 has the zones Concourse, Platform 1, plays there\n",
          "trigger: software trigger 1 is deleted\n",
          "preview: preview.wav: WAV, 48000 Hz, mono, 16 bit, ", "hold the source: renewed twice\n",
          "release it: source 2 is locked by no client\n", "schedule: schedule 1 is removed\n"}) {
        EXPECT_TRUE(contains(steps, part)) << part << " is missing: " << steps;
    }
}

TEST(Demo, reportsInPlainLinesWhatHappens) {
    const Ran ran = runConsole({"demo"});
    EXPECT_EQ(ran.code, 0) << ran.err;
    EXPECT_TRUE(contains(ran.out, "12 sources, 120 sinks, 40 zones, 7 voices"));
    EXPECT_TRUE(contains(ran.out, "step 5 of 13     notice: display text\n"));
    EXPECT_TRUE(contains(ran.out, "trigger          $ trigger activate 1\n"));
    EXPECT_FALSE(contains(ran.out, "\x1b"));
}

/// Fails from a certain output on.
class FailingAfter final : public std::stringbuf {
public:
    explicit FailingAfter(std::string last) : last_(std::move(last)) {}

private:
    int sync() override { return contains(str(), last_) ? -1 : 0; }

    const std::string last_;
};

TEST(Demo, undoesWhatItDidWhenItEndsEarly) {
    skipPauses();
    FailingAfter buffer("trigger create");
    std::ostream stream(&buffer);
    console::Output out(stream);
    std::ostringstream errors;
    console::Output diagnostics(errors);
    console::Settings settings;
    settings.server.speed = 500;
    console::Session session(settings, diagnostics);
    const console::Context context{settings, out, diagnostics, -1, session};
    EXPECT_THROW(console::runLine(context, {"demo"}, console::LineKind::Shell), console::Failure);
    EXPECT_TRUE(contains(buffer.str(), "source 2 is locked by this client"));
    session.waitUntilDelivered();
    EXPECT_TRUE(paclient::allSchedules().empty());
    EXPECT_EQ(paclient::lockOf(2).holder, "no client");
    for (const PaSource& source : paclient::allSources()) {
        const bool isItsOwn = source.id == 2 || source.id == 3;
        EXPECT_TRUE(!isItsOwn || source.getAttachedPaZones().empty()) << source.id;
    }
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
    EXPECT_TRUE(contains(ran.out, "there is no source that is free"));
    EXPECT_TRUE(contains(ran.err, "7 of 13 steps did not go as expected")) << ran.err;
}

}  // namespace
