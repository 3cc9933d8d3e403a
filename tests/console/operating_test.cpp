#include <nlohmann/json.hpp>
#include <regex>

#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

using Lines = std::vector<std::string>;

using nlohmann::json;

json device(int id, const std::string& label, int type) {
    return {{"id", id},
            {"label", label},
            {"type", type},
            {"location", "here"},
            {"ipAddress", "192.0.2.1"}};
}

json with(json object, const json& more) {
    object.update(more);
    return object;
}

/// A station with something of every kind.
json station() {
    const auto sink = [](int id, int type, const json& zones) {
        return with(device(id, "Sink", type), {{"zones", zones}});
    };
    const auto source = [](int id, const std::string& label, int type, const json& zones) {
        return with(device(id, label, type), {{"attachedZones", zones}});
    };
    return {
        {"name", "Test Station"},
        {"dstNo", 1},
        {"zones", {{{"id", "Concourse"}}, {{"id", "Platform 1"}}, {{"id", "Platform 2"}}}},
        {"sinks",
         {sink(1, 1, {"Platform 1"}), sink(3, 3, {"Concourse"}), sink(8, 8, json::array()),
          sink(9, 9, json::array())}},
        {"sources",
         {source(1, "Desk", 2, {"Concourse"}), source(3, "Front handset", 4, json::array()),
          source(5, "Music", 8, {"Platform 2"}), source(7, "Stage", 1, json::array()),
          source(101, "Kiosk", 2, json::array())}},
        {"selectors",
         {{{"id", 5},
           {"source", 7},
           {"label", "Key"},
           {"type", 3},
           {"state", 3},
           {"zones", {"Platform 1"}}}}},
        {"triggers",
         {{{"id", 1}, {"source", 1}, {"label", "Push"}, {"type", 8}},
          {{"id", 4}, {"source", 7}, {"selector", 5}, {"label", "Key 4"}, {"type", 3}}}},
        {"voices", json::array()},
        {"dictionary", json::array()},
    };
}

/// Runs the lines of a script over one connection, with more words before.
Ran runLines(const Lines& lines, const Lines& before = {}) {
    const TestFolder folder;
    std::string content;
    for (const std::string& line : lines) {
        content += line + '\n';
    }
    Lines words = before;
    words.insert(words.end(), {"--scenario", folder.write("station.json", station().dump()),
                               "--script", folder.write("script", content)});
    return runConsole(words);
}

/// The text without what the server or this client has named.
std::string withoutIds(const std::string& text) {
    static const std::regex uuid("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}");
    static const std::regex request("request [^ ]+");
    return std::regex_replace(std::regex_replace(text, uuid, "UUID"), request, "request ID");
}

TEST(Operating, saysWhatTheServerHasConfirmed) {
    const std::pair<std::string, std::string> steps[] = {
        {"source attach 3", "source 3 is locked by this client (UUID)"},
        {"source attach 'FRONT handset'", "source 3 is locked by this client (UUID)"},
        {"zone attach 'Platform 2' 'platform 1' --source 3",
         "source 3 has the zones Platform 1, Platform 2"},
        {"zone attach 'Platform 2' --source 3",
         "source 3 has the zones Platform 1, Platform 2, as before"},
        {"zone attach Concourse 'Platform 2' --source 3 --replace",
         "source 3 has the zones Concourse, Platform 2"},
        {"zone attach Concourse --source 3 --replace", "source 3 has the zones Concourse"},
        {"zone detach concourse --source 3", "source 3 has no zones"},
        {"zone detach --all --source 3", "source 3 has no zones, as before"},
        {"zone detach --all --source 5", "source 5 has no zones"},
        {"source detach 3", "source 3 is locked by nobody"},
        {"source gain 7 -20.12345678", "source 7 has the gain -20.1235 dB"},
        {"source gain 7 -20.1235 --second --timeout 0.05", "source 7 has the gain -20.1235 dB"},
        {"source gain 7 42", "source 7 has the gain 42 dB"},
        {"source gain 7 42", "source 7 has the gain 42 dB, as before"},
        {"sink gain 3 -20", "sink 3 has the gain -20 dB"},
        {"sink gain 3 -0", "sink 3 has the gain 0 dB"},
        {"sink gain 3 0", "sink 3 has the gain 0 dB, as before"},
        {"sink gain 3 -96 --persistent", "sink 3 has the gain -96 dB"},
        {"sink monitor 3 on", "sink 3 is monitored"},
        {"sink monitor 3 off", "sink 3 is not monitored"},
        {"sink monitor 3 off", "sink 3 is not monitored, as before"},
        {"sink reset 9 --wait", "sink 9 has been reset: HEALTHY"},
        {"trigger create --source 1 --priority 0", "software trigger 1 starts source 1"},
        {"trigger create --source 101 --priority 100", "software trigger 2 starts source 101"},
        {"trigger activate 1", "software trigger 1 is active: request ID in Concourse"},
        {"trigger state 1", "hardware trigger 1: INACTIVE"},
        {"", "software trigger 1: INACTIVE"},
        {"trigger deactivate 1", "software trigger 1 is inactive"},
        {"trigger delete 1", "software trigger 1 is deleted"},
        {"trigger delete 2", "software trigger 2 is deleted"},
        {"selector state 5", "selector 5: DISABLED"},
        {"sim selector 5 2", "selector 5 is ENABLED_AND_ACTIVE"},
        {"sim trigger 4 on", "hardware trigger 4 is on"},
        {"trigger state 4", "hardware trigger 4: ACTIVE"},
        {"sim trigger 4 off", "hardware trigger 4 is off"},
        {"sim lock 3 --client other-1", "source 3 is locked by the client other-1"},
        {"sim unlock 3 --client other-1", "source 3 is released by the client other-1"},
        {"sim renewals off", "the server ignores renewals of locks"},
        {"record start a.wav", "/home/quillon/tmp/a.wav is being recorded"},
        {"record stop", "/home/quillon/tmp/a.wav is recorded"},
        {"record preview /home/quillon/tmp/a.wav --timeout 0.05",
         "requested: /home/quillon/tmp/a.wav is played back (the server confirms no previews)"},
        {"record delete a.wav --timeout 0.05",
         "requested: /home/quillon/tmp/a.wav is deleted (the server confirms no deletions)"},
    };
    Lines script;
    Lines expected;
    for (const auto& [line, said] : steps) {
        script.push_back(line);
        expected.push_back(said);
    }
    const Ran ran = runLines(script);
    EXPECT_EQ(ran.code, 0);
    EXPECT_EQ(ran.err, "");
    EXPECT_EQ(linesOf(withoutIds(ran.out)), expected);
}

TEST(Operating, hasAClearLineForWhatCannotBeDone) {
    struct Case {
        Lines lines;  // the last one fails
        int code;
        std::string message;
    };
    const Case cases[] = {
        {{"source detach 3"}, 4, "source 3 is locked by nobody"},
        {{"sim lock 3 --client other-1", "source attach 3"},
         4,
         "source 3 is locked by another client (other-1)"},
        {{"source attach 3", "sim lock 3 --client other-1"}, 4, "the server refuses: source 3"},
        {{"source gain 3 0"}, 1, "source 3 has no gain to set"},
        {{"source gain 7 42.01"}, 1, "LEVEL"},
        {{"source vu 98"}, 3, "there is no source '98'"},
        {{"sink gain 8 -3"}, 1, "sink 8 has no gain to set"},
        {{"sink reset 1"}, 1, "sink 1 cannot be reset"},
        {{"sink monitor 3 maybe"}, 1, "maybe"},
        {{"zone attach --source 1"}, 1, "ZONE is missing"},
        {{"zone attach Concourse Nowhere --source 1"}, 3, "there is no zone 'Nowhere'"},
        {{"zone detach --source 1"}, 1, "Either ZONE or --all"},
        {{"zone detach 'Platform 1' --source 1"}, 4, "zone 'Platform 1' is not attached"},
        {{"trigger create --source 1 --priority 101"}, 1, "--priority"},
        {{"trigger create --source 1 --priority 1 --pre-chime 1,2"}, 1, "has a comma"},
        {{"trigger create --source 1 --priority 1 --display '\xff'"}, 1, "not UTF-8"},
        {{"trigger activate 4"}, 3, "there is no software trigger '4'"},
        {{"trigger state 99"}, 3, "there is no trigger '99'"},
        {{"trigger list --source 99"}, 3, "there is no source '99'"},
        {{"record stop"}, 4, "the server refuses: "},
        {{"record start ''"}, 1, "cannot be the name"},
        {{"sim trigger 99 on"}, 4, "the server refuses: there is no trigger 99"},
        {{"sim lock 3 --client 'a,b'"}, 1, "'a,b' is not a UUID"},
        {{"source"}, 1, "a command is missing"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lines.back());
        const Ran ran = runLines(c.lines);
        EXPECT_EQ(ran.code, c.code);
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), 1U) << ran.err;
        EXPECT_EQ(linesOf(ran.out).size(), c.lines.size() - 1) << ran.out;
    }
}

TEST(Operating, saysWhatIsUnknownWhenTheServerDoesNotAnswer) {
    const std::pair<const char*, const char*> cases[] = {
        {"source attach 3", "whether source 3 is locked is unknown"},
        {"record start a.wav", "whether /home/quillon/tmp/a.wav is being recorded is unknown"},
        {"source vu 1", "the meter of element 0 reports nothing"},
        {"sink gain 3 -3", "whether sink 3 has the gain -3 dB is unknown"},
        {"schedule add --zones Concourse --template M --sync",
         "whether the schedule is in is unknown"},
    };
    for (const auto& [line, message] : cases) {
        const Ran ran = runLines({"sim requests off", std::string(line) + " --timeout 0"});
        EXPECT_EQ(ran.code, 5) << line;
        // A request that was not sent when its time was up may find a link that is stopped.
        const Lines lines = linesOf(ran.err);
        ASSERT_FALSE(lines.empty()) << line;
        EXPECT_TRUE(contains(lines.back(), message)) << ran.err;
        EXPECT_TRUE(lines.size() == 1 || contains(lines.front(), "the link was stopped"))
            << ran.err;
    }
}

TEST(Operating, goesOnAfterALossOfTheConnection) {
    const Lines script{"source attach 3", "sim disconnect", "source attach 3", "sim restart",
                       "list locks"};
    const Ran ran = runLines(script);
    EXPECT_EQ(ran.code, 0) << ran.err;
    EXPECT_TRUE(contains(ran.out,
                         "the server has dropped the connection\nsource 3 is locked by "
                         "this client"))
        << ran.out;
    EXPECT_FALSE(contains(ran.out, "\n3       this client")) << "a lock ends with its server";
    const Ran watched = runLines(script, {"monitor"});
    EXPECT_EQ(watched.code, 0) << watched.err;
    EXPECT_TRUE(contains(watched.err, "the connection to the server is there again"));
    EXPECT_TRUE(contains(watched.out, "lockUpdate          source 3: nobody\n"));
}

TEST(Operating, warnsOfWhatEndsWithTheCommand) {
    for (const Lines& words :
         {Lines{"sink", "gain", "3", "-3"}, Lines{"zone", "attach", "Concourse", "--source", "3"},
          Lines{"schedule", "add", "--zones", "Concourse", "--items", "12"}}) {
        const Ran ran = runConsole(words);
        EXPECT_EQ(ran.code, 0);
        EXPECT_TRUE(contains(ran.err, "a script keeps it")) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), 1U) << ran.err;
    }
}

TEST(Operating, showsWhoHoldsASource) {
    const Ran ran =
        runLines({"sim lock 7 --client other-1", "source attach 3", "source zones 7 --format json",
                  "status --format json", "list locks", "source zones 5"});
    const Lines lines = linesOf(withoutIds(ran.out));
    ASSERT_GT(lines.size(), 3U) << ran.err;
    EXPECT_EQ(lines[2],
              R"({"sourceId":7,"lockedUUID":"other-1","holder":"another client","zones":[]})");
    const auto status = json::parse(lines[3]);
    EXPECT_EQ(status["lockedByThisClient"].dump(), "[3]");
    EXPECT_EQ(status["lockedByOthers"].dump(), R"([{"lockedUUID":"other-1","sourceId":7}])");
    EXPECT_EQ(status["selectors"], 1);
    EXPECT_EQ(status["hardwareTriggers"], 2);
    EXPECT_TRUE(contains(ran.out, "\n7       another client  other-1\n")) << ran.out;
    EXPECT_TRUE(contains(ran.out, "\nlocked by  nobody\nzone       Platform 2\n"));
}

TEST(Operating, listsTriggersOfBothKinds) {
    const Ran ran =
        runLines({"trigger create --source 7 --priority 5 --pre-chime 1 --display 'a,b'",
                  "trigger list --source 7 --format json", "trigger delete 1"});
    const std::string& out = ran.out;
    const auto list = json::parse(out.substr(out.find('['), out.rfind(']') + 1 - out.find('[')));
    ASSERT_EQ(list.size(), 2U);
    const auto& own = list[1];
    EXPECT_EQ(list[0]["kind"], "hardware");
    EXPECT_EQ(list[0]["associatedSelectorId"], 5);
    EXPECT_EQ(own["kind"], "software");
    EXPECT_EQ(own["associatedSourceId"], 7);
    EXPECT_EQ(own["preChime"], "1");
    EXPECT_EQ(own["displayParameters"], "a,b");
    EXPECT_EQ(own.size(), 16U);
}

TEST(Operating, metersALevel) {
    const Ran ran = runLines({"source vu 101 --count 1 --format json"});
    EXPECT_EQ(ran.code, 0);
    const auto reading = json::parse(ran.out);
    EXPECT_EQ(reading["element"], 1);
    EXPECT_TRUE(reading["level"].is_number());
    EXPECT_EQ(runLines({"source vu 1 --seconds 0"}).out, "");
}

TEST(Operating, isSeenByTheMonitor) {
    const Ran ran = runLines({"sim trigger 4 on", "sim selector 5 0", "sim lock 7 --client other-1",
                              "source vu 1 --count 1"},
                             {"monitor"});
    EXPECT_EQ(ran.code, 0) << ran.err;
    for (const std::string line : {"triggerUpdate       4 Key 4: ACTIVE\n",
                                   "selectorUpdate      5 Key: ENABLED_AND_UNKNOWN\n",
                                   "lockUpdate          source 7: another client (other-1)\n"}) {
        EXPECT_TRUE(contains(ran.out, line)) << ran.out;
    }
    EXPECT_EQ(ran.out.find("lockUpdate"), ran.out.rfind("lockUpdate"));
    EXPECT_FALSE(contains(ran.out, "level"));
}

}  // namespace
