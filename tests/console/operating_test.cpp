#include <csignal>
#include <functional>
#include <nlohmann/json.hpp>
#include <regex>

#include "console/ExitCode.h"
#include "console/following/operate.h"
#include "console/interrupt.h"
#include "tests/console/consoleRun.h"
#include "tests/console/testFiles.h"

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
        {"sim renewals off", "the server hears no renewals of locks"},
        {"record start a.wav --timeout 0.05", "/home/quillon/tmp/a.wav is being recorded"},
        {"record stop --timeout 0.05", "the recording is stopped"},
        {"record preview /home/quillon/tmp/a.wav --timeout 0.05",
         "/home/quillon/tmp/a.wav is played back"},
        {"record delete a.wav --timeout 0.05", "/home/quillon/tmp/a.wav is deleted"},
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
    const std::string longName(10000, 'x');
    const Case cases[] = {
        {{"source detach 3"}, 4, "source 3 is locked by nobody"},
        {{"sim lock 3 --client other-1", "source attach 3"},
         4,
         "source 3 is locked by another client (other-1)"},
        {{"sim lock 3 --client other-1", "source detach 3"}, 4, "another client (other-1)"},
        {{"source attach 3", "sim lock 3 --client other-1"}, 4, "the server refuses: source 3"},
        {{"source attach " + longName}, 3, "there is no source 'xxx"},
        {{"source gain 3 0"}, 1, "setGain: Unsupported Source Type >4<"},
        {{"source gain 7 nan"}, 1, "LEVEL"},
        {{"source gain 7 42.01"}, 1, "LEVEL"},
        {{"source gain 7 -96.5"}, 1, "LEVEL"},
        {{"source vu 98"}, 3, "there is no source '98'"},
        {{"sink gain 3 0.1"}, 1, "LEVEL"},
        {{"sink gain 8 -3"}, 1, "setGain: Unsupported Sink Type >8<"},
        {{"sink reset 1"}, 1, "reset: Unsupported Sink Type >1<"},
        {{"sink monitor 3 maybe"}, 1, "maybe"},
        {{"zone attach --source 1"}, 1, "ZONE is required"},
        {{"zone attach Concourse Nowhere --source 1"}, 3, "there is no zone 'Nowhere'"},
        {{"zone detach --source 1"}, 1, "Either ZONE or --all"},
        {{"zone detach Concourse --all --source 1"}, 1, "Either ZONE or --all"},
        {{"zone detach 'Platform 1' --source 1"}, 4, "zone 'Platform 1' is not attached"},
        {{"trigger create --source 1 --priority 101"}, 1, "--priority"},
        {{"trigger create --source 1 --priority 1 --pre-chime 1,2"}, 1, "has a comma"},
        {{"trigger create --source 1 --priority 1 --display '\xff'"}, 1, "not UTF-8"},
        {{"trigger activate 4"}, 3, "there is no software trigger '4'; there is none at all"},
        {{"trigger state 99"}, 3, "there is no trigger '99'"},
        {{"trigger list --source 99"}, 3, "there is no source '99'"},
        {{"selector state 99"}, 3, "there is no selector '99'"},
        {{"record stop"}, 4, "the server refuses: "},
        {{"record start /etc/passwd"}, 4, "the server refuses: "},
        {{"record preview nothing.wav"}, 4, "the server refuses: "},
        {{"record delete nothing.wav"}, 4, "the server refuses: "},
        {{"record start ''"}, 1, "cannot be the name"},
        {{"record start 'a\tb'"}, 1, "'a\\x09b' cannot be the name"},
        {{"sim trigger 99 on"}, 4, "the server refuses: there is no trigger 99"},
        {{"sim selector 1 4"}, 1, "STATE"},
        {{"sim lock 3 --client 'a,b'"}, 1, "'a,b' is not a UUID"},
        {{"source"}, 1, "a command is missing"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lines.back().substr(0, 60));
        const Ran ran = runLines(c.lines);
        EXPECT_EQ(ran.code, c.code);
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), 1U) << ran.err;
        EXPECT_EQ(linesOf(ran.out).size(), c.lines.size() - 1) << ran.out;
    }
}

TEST(Operating, saysWhatIsUnknownWhenTheServerIsSilent) {
    const std::pair<const char*, const char*> cases[] = {
        {"source attach 3", "whether source 3 is locked is unknown"},
        {"source gain 7 5", "whether source 7 has the gain 5 dB is unknown"},
        {"source vu 1", "the meter of element 0 tells nothing"},
        {"sink gain 3 -3", "whether sink 3 has the gain -3 dB is unknown"},
        {"sink monitor 3 on", "whether sink 3 is monitored is unknown"},
        {"sink reset 9", "whether sink 9 has been reset is unknown"},
        {"trigger activate 1", "whether software trigger 1 is active is unknown"},
        {"schedule add --zones Concourse --template M",
         "whether schedule 2 is kept as asked is unknown"},
        {"schedule add --zones Concourse --template M --sync",
         "whether the schedule is in is unknown"},
        {"schedule modify 1 --validity 9", "whether schedule 1 is kept as asked is unknown"},
        {"schedule remove 1", "whether schedule 1 is removed is unknown"},
    };
    for (const auto& [line, message] : cases) {
        const Ran ran = runLines({"schedule add --zones Concourse --template M",
                                  "trigger create --source 101 --priority 5", "sim requests off",
                                  std::string(line) + " --timeout 0"});
        EXPECT_EQ(ran.code, 5) << line;
        // A call that had not yet asked when its time was up asks a link that is stopped.
        const std::vector<std::string> told = linesOf(ran.err);
        ASSERT_FALSE(told.empty()) << line;
        EXPECT_TRUE(contains(told.back(), message)) << ran.err;
        EXPECT_TRUE(told.size() == 1 || contains(told.front(), "the link was stopped")) << ran.err;
        EXPECT_LE(told.size(), 2U) << ran.err;
        runLines({"trigger delete 1"});  // it outlives the connection
    }
}

TEST(Operating, endsWhenTheConnectionIsLost) {
    for (const Lines& command : {Lines{}, Lines{"monitor"}}) {
        const Ran ran = runLines({"sim disconnect", "list zones"}, command);
        EXPECT_EQ(ran.code, 8);
        EXPECT_TRUE(contains(ran.err, "line 2: the connection to the server is lost")) << ran.err;
        EXPECT_FALSE(contains(ran.out, "Concourse")) << ran.out;
    }
    EXPECT_EQ(runLines({"sim disconnect"}, {"monitor"}).code, 8);
}

TEST(Operating, deactivatesNothingTwice) {
    const Ran ran = runLines({"trigger create --source 1 --priority 5", "trigger activate 1",
                              "trigger deactivate 1", "trigger deactivate 1"});
    EXPECT_EQ(runLines({"trigger delete 1"}).code, 0);  // it outlives the connection
    EXPECT_EQ(ran.code, 4);
    EXPECT_TRUE(contains(ran.err, "line 4: the server refuses")) << ran.err;
}

TEST(Operating, warnsOfWhatEndsWithTheCommand) {
    const Ran attached = runConsole({"source", "attach", "3"});
    EXPECT_EQ(attached.code, 0);
    EXPECT_TRUE(contains(attached.err, "a script keeps it")) << attached.err;
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
    EXPECT_EQ(own.size(), 13U);
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

/// Runs one request against a server; what it sends is up to the test.
/// @return the code of its failure, and the text
std::pair<console::ExitCode, std::string> outcomeOf(const std::function<void()>& send, int looks) {
    std::ostringstream streams;
    console::Output out(streams);
    console::Connection connection(console::Settings{}, out);
    const console::Context context{console::Settings{}, out, out, -1, connection};
    try {
        console::operate(context, {"it is done", {pa::operations::activateTrigger}}, send,
                         console::seen([&looks] { return looks-- == 0; }));
    } catch (const console::Failure& failure) {
        return {failure.code, failure.what()};
    }
    return {console::ExitCode::Done, ""};
}

TEST(Operate, takesItsOwnRefusalsAlone) {
    const auto refuse = [](int classNo, int number) {
        return [=] { console::tellRefusal({{classNo, number}, "", "not now"}); };
    };
    using Code = console::ExitCode;
    EXPECT_EQ(outcomeOf(refuse(92, 5), 2).first, Code::Refused);
    EXPECT_EQ(outcomeOf(refuse(92, 5), 2).second, "the server refuses: not now");
    EXPECT_EQ(outcomeOf(refuse(78, 5), 2).first, Code::Done);
    EXPECT_EQ(outcomeOf(refuse(92, 6), 2).first, Code::Done);
}

TEST(Operate, saysWhatIsUnknownWhenTheUserInterrupts) {
    console::interrupt::install();
    const auto [code, text] = outcomeOf([] { std::raise(SIGINT); }, 1000);
    console::interrupt::rearm();
    EXPECT_EQ(code, console::ExitCode::Interrupted);
    EXPECT_EQ(text, "interrupted; whether it is done is unknown");
}

}  // namespace
