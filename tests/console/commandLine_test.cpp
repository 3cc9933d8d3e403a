#include <csignal>
#include <nlohmann/json.hpp>
#include <streambuf>

#include "console/ExitCode.h"
#include "console/Output.h"
#include "console/interrupt.h"
#include "tests/console/consoleRun.h"
#include "tests/console/testFiles.h"

namespace {

using Words = std::vector<std::string>;

struct Case {
    Words words;
    int code;
    std::string message;  // part of the one line on stderr; empty: none at all
};

/// Runs the cases; one that fails prints no data.
void runCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        std::string shown;
        for (const std::string& word : c.words) {
            shown += word + ' ';
        }
        SCOPED_TRACE(shown);
        const Ran ran = runConsole(c.words);
        EXPECT_EQ(ran.code, c.code) << ran.err;
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), c.message.empty() ? 0U : 1U) << ran.err;
        EXPECT_EQ(ran.out.empty(), c.code != 0) << ran.out;
    }
}

/// A play command for a zone, with more words behind.
Words play(const Words& more) {
    Words words = {"play", "--zones", "Platform 1"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

TEST(CommandLine, saysWhatIsWrongWithIt) {
    runCases({
        {{}, 1, "no command"},
        {{"sing"}, 1, "there is no command 'sing'; did you mean 'sink'"},
        {{"list"}, 1, "KIND is required"},
        {{"--sped", "60", "status"}, 1, "there is no option '--sped'; did you mean '--speed'"},
        {play({"--txt=x"}), 1, "there is no option '--txt'; did you mean '--text'"},
        {{"sing", "--help"}, 1, "there is no command 'sing'"},
        {{"status", "--state", ""}, 1, "--state: the path is empty"},
        {play({"--items", "1", "--priority", "--wait"}), 1, "missing before --wait"},
        {{"list", "trains"}, 1, "trains"},
        {{"list", "zones", "sinks"}, 1, "sinks"},
        {{"--format", "xml", "status"}, 1, "xml"},
        {{"zone", "leave"}, 1, "there is no command 'leave'"},
        {{"--format", "json", "zone"}, 1, "a command is missing: members, attach, detach"},
        {{"get", "source"}, 1, "ID is required"},
        {{"status", "--script", "x"}, 1, "--script"},
        {{"monitor", "--script", "x", "--seconds", "1"}, 1, "--seconds"},
        {{"cancel"}, 1, "ID or --type"},
        {{"cancel", "--type", "NONE"}, 1, "'NONE'"},
        {{"play", "--text", "x"}, 1, "--zones"},
        {play({}), 1, "nothing to play"},
        {play({"--items", "1", "--text", "x"}), 1, "excludes"},
        {play({"--items", "1", "--voice", "x"}), 1, "requires --text"},
        {play({"--text="}), 1, "text argument is empty"},
        {play({"--text", "--wait"}), 1, "missing before --wait"},
        {play({"--display", ""}), 1, "--display needs"},
        {play({"--items", "1", "--request-id", "\xff\xff-not-text"}), 1, "UTF-8"},
        {play({"--display", "T", "--validity", "0", "--wait"}), 1, "--wait cannot follow"},
        {play({"--items", "1", "--request-id", "short"}), 1, "6 to 63 characters"},
    });
}

TEST(CommandLine, takesDecimalNumbersWithinTheirLimitsOnly) {
    for (const std::string number : {"", " 5", "5 ", "0x10", "1e2", "2147483648", "ten", "1.5"}) {
        runCases({{play({"--items", "1", "--priority", number}), 1, "--priority"},
                  {play({"--items", number + ",2"}), number == "2147483648" ? 4 : 1, "item"}});
    }
    for (const std::string number : {"nan", "inf", "-inf", "1e999", "0x1p3", "loud", ""}) {
        runCases({{play({"--items", "1", "--gain", number}), 1, "--gain"},
                  {{"status", "--speed", number}, 1, "--speed"}});
    }
    runCases(
        {{play({"--items", "1", "--repeat", "0"}), 1, "--repeat"},
         {{"status", "--speed", "0"}, 1, "--speed"},
         {play({"--items", "12", "--priority", "-3", "--relative", "--gain", "-6.5"}), 0, ""}});
}

TEST(CommandLine, takesGlobalOptionsBeforeAndAfterTheCommand) {
    EXPECT_EQ(runConsole({"--format", "json", "list", "zones"}).out,
              runConsole({"list", "zones", "--format", "json"}).out);
}

TEST(CommandLine, namesThePlaceInAScenarioThatCannotBeUsed) {
    const TestFolder folder;
    const auto broken = folder.write("broken.json", "{\"name\": 5}");
    runCases({{{"status", "--scenario", "/nonexistent.json"}, 2, "nonexistent.json"},
              {{"status", "--scenario", broken}, 2, "broken.json"}});
}

TEST(Lookup, suggestsTheNearestNames) {
    runCases({
        {{"play", "--zones", "Platfrom 1", "--text", "x"}, 3, "did you mean 'Platform 1'"},
        {{"zone", "members", "Concurse"}, 3, "did you mean 'Concourse'?"},
        {{"get", "zone", "status"}, 3, "there is no zone 'status'"},
        {{"get", "source", "99"}, 3, "there is no source '99'"},
        {{"get", "announcement", "99"}, 3, "there is no announcement '99'"},
        {{"cancel", "--type", "tts"}, 3, "no announcement of type TTS is active"},
        {play({"--text", "x", "--voice", "Amelai"}), 3, "did you mean 'Amelia'?"},
        {play({"--text", "x", "--language", "xx"}), 3, "'en'"},
        // A voice at a rate that announcements cannot use is not offered.
        {play({"--text", "x", "--voice", "Harold"}), 3, "there is no voice 'Harold'"},
        {{"get", "zone", "PLATFORM 1"}, 0, ""},
        {{"get", "voice", "amelia"}, 0, ""},
        {{"get", "sink", "3"}, 0, ""},
    });
}

TEST(Hostile, recordingsThatCannotBePlayedAreNotSent) {
    const TestFolder folder;
    const auto file = [&](const std::string& name) {
        return play({"--file", (folder.path() / name).string()});
    };
    folder.write("text.wav", "hello");
    folder.write("empty.wav", "");
    folder.writeWav("silent.wav", 0);
    std::vector<Case> cases = {
        {file("missing.wav"), 1, "no such file"},
        {file("text.wav"), 1, "WAV"},
        {file("empty.wav"), 1, "WAV"},
        {file("silent.wav"), 1, "no sound"},
        {file(""), 1, "names no file"},
        {file(".."), 1, "names no file"},
    };
    for (const std::string name :
         {"a,b.wav", "a^b.wav", "a!b.wav", "a\"b.wav", "a\nb.wav", " a.wav", "dir\\\ta.wav"}) {
        folder.writeWav(name, 100);
        cases.push_back({file(name), 1, "the file name"});
    }
    runCases(cases);
}

TEST(Hostile, templateVariablesThatWouldBreakTheRequestAreNotSent) {
    const auto variable = [](const std::string& text) {
        return play({"--display", "T", "--var", text});
    };
    runCases({{variable("text"), 1, "KEY=TEXT"},
              {variable("=text"), 1, "empty key"},
              {variable("a\"b=text"), 1, "the key"},
              {variable("a\\b=text"), 1, "the key"},
              {variable("a\nb=text"), 1, "the key"},
              {variable("a\xff=text"), 1, "UTF-8"},
              {variable("{SCREEN}=text"), 1, "the key"},
              {variable("key=\xc3"), 1, "UTF-8"},
              {play({"--display", "\xff"}), 1, "UTF-8"},
              {variable("a,b^c!d=\"quoted\" \\ , ^ ! ~ = \n\t\xc3\xa9"), 0, ""},
              {variable("key="), 0, ""}});
}

TEST(Output, listsZonesAsObjectsWithTheMembersOfTheRecord) {
    const auto parsed =
        nlohmann::ordered_json::parse(runConsole({"list", "zones", "--format", "json"}).out);
    ASSERT_EQ(parsed.size(), 40U);
    std::vector<std::string> members;
    for (const auto& member : parsed[0].items()) {
        members.push_back(member.key());
    }
    EXPECT_EQ(members, (Words{"elemNo", "id", "activity", "activityText", "announcementType",
                              "announcementTypeText", "health", "healthText"}));
    EXPECT_TRUE(parsed[0]["activity"].is_number());
    EXPECT_EQ(runConsole({"list", "announcements", "--format", "json"}).out, "[]\n");
}

TEST(Output, isAlignedTextByDefault) {
    const std::pair<Words, std::string> cases[] = {
        {{"status"}, "\nserver/name         Central Station\n"},
        {{"list", "sources"}, "ID   LABEL  "},
        {{"list", "sinks"}, "\n120  "},
        {{"list", "zones"}, "\nPlatform 1             Idle      None          Healthy\n"},
        {{"list", "voices"}, "\n6     es        Lucía    48000\n7     nl        Daan     48000\n"},
        {{"list", "announcements"}, "ID  REQUEST  AUDIO  VISUAL  STATE  PRIORITY  START  ZONES\n"},
        {{"get", "sink", "3"}, "\ntype                  INDUCTION_LOOP_OUTPUT\n"},
    };
    for (const auto& [words, part] : cases) {
        const Ran ran = runConsole(words);
        EXPECT_EQ(ran.code, 0);
        EXPECT_TRUE(contains(ran.out, part)) << ran.out;
    }
}

TEST(Output, showsEachMemberOfAZoneOnce) {
    // Its sinks name the platform, or one of its two ends.
    const auto members = linesOf(runConsole({"zone", "members", "platform 1"}).out);
    EXPECT_EQ(members.size(), 1 + 9U);
}

/// Takes nothing.
class ClosedOutput : public std::streambuf {};

TEST(Output, thatWaitsForItsReaderCanBeInterrupted) {
    ClosedOutput closed;
    std::ostream stream(&closed);
    console::Output out(stream);
    console::interrupt::install();
    std::raise(SIGINT);
    try {
        out.write("x");
        ADD_FAILURE();
    } catch (const console::Failure& failure) {
        EXPECT_EQ(failure.code, console::ExitCode::Interrupted);
    }
    console::interrupt::rearm();
}

TEST(Output, thatIsClosedEndsTheCommand) {
    for (const Words& words : {Words{"list", "zones"}, Words{"--help"}, Words{"demo"}}) {
        ClosedOutput closed;
        std::ostream out(&closed);
        std::ostringstream err;
        EXPECT_EQ(console::run(words, {out, err}), 1);
        EXPECT_EQ(err.str(), "paconsole: the output cannot be written\n");
    }
}

}  // namespace
