// The commands of schedules: what they keep, refuse, bring in and lose.
#include <csignal>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <set>
#include <sys/wait.h>

#include "client/json.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"
#include "tests/support/schedules.h"

namespace {

using paclient::Json;
using Words = std::vector<std::string>;

/// Schedules as `schedule export` writes them.
Json membersOf(const std::vector<ScheduleDefinition>& schedules) {
    return paclient::toJson(schedules, paclient::JsonTexts::None);
}

/// One after the other, over one connection.
Ran runLines(const TestFolder& folder, const Words& lines) {
    std::string script;
    for (const std::string& line : lines) {
        script += line + '\n';
    }
    return runConsole({"--clock", "2026-12-01T03:00", "--state", (folder.path() / "state").string(),
                       "--script", folder.write("script", script)});
}

TEST(ScheduleCommand, keepsChangesAndForgets) {
    const TestFolder folder;
    const Ran first = runLines(
        folder,
        {"schedule add --zones 'platform 1' --items 12,14 --from 06:00 --days tue --relative",
         "schedule add --sync --zones 'Concourse,Subway' --text Welcome --language de",
         "schedule add --id 7 --zones Concourse --file /home/quillon/tmp/x.wav --source 3 "
         "--template Main --set A=1 --set B=2 --until 2026-12-02",
         "schedule modify 1 --items 21 --repeat 3 --until 22:00 --absolute",
         "schedule modify 7 --text 'x' --set B=3 --set C== --validity 9",
         "schedule modify 2 --gain 0", "schedule modify 2 --voice Amelia",
         "schedule add --zones Subway --text Guten --language de", "schedule modify 3 --text Tag",
         "schedule modify 7 --validity 11"});
    EXPECT_EQ(first.code, 0) << first.err;
    EXPECT_EQ(linesOf(first.out),
              (Words{"schedule 1 is in; next run 2026-12-01T06:00 Europe/Berlin",
                     "schedule 2 is in; next run 2026-12-02T00:00 Europe/Berlin",
                     "schedule 7 is in; next run 2026-12-02T00:00 Europe/Berlin",
                     "schedule 1 is changed; next run 2026-12-01T06:00 Europe/Berlin",
                     "schedule 7 is changed; next run 2026-12-02T00:00 Europe/Berlin",
                     "schedule 2, as before; next run 2026-12-02T00:00 Europe/Berlin",
                     "schedule 2 is changed; next run 2026-12-02T00:00 Europe/Berlin",
                     "schedule 3 is in; next run 2026-12-02T00:00 Europe/Berlin",
                     "schedule 3 is changed; next run 2026-12-02T00:00 Europe/Berlin",
                     "schedule 7 is changed; next run 2026-12-02T00:00 Europe/Berlin"}));

    const Ran second = runLines(folder, {"schedule list --format json", "schedule remove 7 1 7 3",
                                         "list schedules", "status"});
    EXPECT_EQ(second.code, 0) << second.err;
    const std::size_t end = second.out.find("\n]\n") + 3;
    const auto kept = nlohmann::json::parse(second.out.substr(0, end));
    ASSERT_EQ(kept.size(), 4U);
    const auto expect = [&kept](std::size_t at, const nlohmann::json& members) {
        for (const auto& member : members.items()) {
            EXPECT_EQ(kept[at][member.key()], member.value()) << at << ' ' << member.key();
        }
    };
    expect(0, {{"Id", 1},
               {"paZones", {"Platform 1"}},
               {"dictionaryItems", {21}},
               {"repeatCnt", 3},
               {"periodText", "2026-12-01 to 2099-12-31"},
               {"daysText", "tue"},
               {"endHour", 22},
               {"endMinute", 0},
               {"priorityMode", 0}});
    expect(1, {{"Id", 2}, {"paZones", {"Concourse", "Subway"}}, {"announcementType", 4}});
    EXPECT_EQ(kept[1]["ttsList"][0]["voice"], "Amelia");
    EXPECT_EQ(kept[1]["ttsList"][0]["text"], "Welcome");
    EXPECT_EQ(kept[2]["ttsList"][0]["language"], "de");
    EXPECT_EQ(kept[2]["ttsList"][0]["text"], "Tag");
    expect(3, {{"announcementType", 4},
               {"storedDataFilePath", ""},
               {"displayTemplateName", "Main"},
               {"displayTemplateKeyValueList", {{"A", "1"}, {"B", "3"}, {"C", "="}}},
               {"displayTemplateValidityPeriodSeconds", 11}});
    const Words rest = linesOf(second.out.substr(end));
    EXPECT_EQ(rest.at(0), "schedule 7 is removed");
    EXPECT_EQ(rest.at(1), "schedule 1 is removed");
    EXPECT_EQ(rest.at(4).substr(0, 3), "2  ");
    EXPECT_TRUE(contains(second.out, "schedules           1\n"));
}

TEST(ScheduleCommand, failsWithOneLine) {
    const std::string add = "schedule add --zones Concourse ";
    struct Case {
        std::string line;
        int code;
        const char* message;
    };
    const Case cases[] = {
        {add, 1, "nothing to play"},
        {add + "--items 12 --text x", 1, "cannot be combined with"},
        {add + "--items 12 --id 3", 4, "there is a schedule 3 already"},
        {add + "--items 12 --id 0", 1, "--id: '0'"},
        {add + "--items 12 --id 9 --sync", 1, "cannot be combined with"},
        {add + "--items 99", 4, "the server refuses: schedule 1: unknown dictionary item 99"},
        {add + "--items 99 --sync", 4, "the server refuses"},
        {add + "--items 12 --until 2026-02-31", 1, "--until: 2026-02-31 does not exist"},
        {add + "--items 12 --until 2026-11-30", 1, "is before the start, 2026-12-01T00:00"},
        {add + "--items 12 --every -5", 1, "--every: '-5'"},
        {add + "--items 12 --gain inf", 1, "--gain: 'inf'"},
        {add + "--items 12 --voice Amelia", 1, "go with --text"},
        {add + "--items 12 --source 1", 1, "goes with --file"},
        {add + "--items 12 --set A=1", 1, "--set goes with --template"},
        {add + "--template M --set A", 1, "is not KEY=VALUE"},
        {add + "--template M --set A=1 --set A=2", 1, "gives 'A' twice"},
        {add + "--text x --voice Amelai", 3, "did you mean 'Amelia'"},
        {"schedule add --zones Concuorse --items 12", 3, "did you mean 'Concourse'"},
        {"schedule modify 3 --set A=2", 1, "--validity is missing"},
        {"schedule modify 4 --priority 1", 3, "there is no schedule '4'"},
        {"schedule remove 3 4", 3, "there is no schedule '4'"},
        {"schedule import /nonexistent", 1, "No such file"},
        {"schedule export --out /nonexistent/x", 1, "cannot be written"},
    };
    for (const Case& c : cases) {
        const TestFolder folder;
        const Ran ran =
            runLines(folder, {"schedule add --id 3 --zones Concourse --template M", c.line});
        EXPECT_EQ(ran.code, c.code) << c.line << ran.err;
        EXPECT_TRUE(contains(ran.err, c.message)) << ran.err;
        EXPECT_EQ(linesOf(ran.err).size(), 1U) << ran.err;
        EXPECT_EQ(linesOf(ran.out).size(), 1U) << c.line;
    }
    EXPECT_EQ(runConsole({"--clock", "06:00", "status"}).code, 1);
}

TEST(ScheduleTransfer, bringsBackWhatWasExportedAndReportsWhatFails) {
    const TestFolder folder;
    const auto file = [&folder](const std::string& name, const Json& entries) {
        return folder.write(name, entries.dump());
    };
    ScheduleDefinition unknownZone = schedule(20);
    unknownZone.paZones = {"Concuorse"};
    Json entries = membersOf({wordy(hostile), unknownZone, schedule(30)});
    entries.push_back({{"id", 1}});
    const Ran ran = runLines(folder, {"schedule import " + file("many", entries)});
    EXPECT_EQ(ran.code, 4);
    EXPECT_EQ(ran.out, "2 of 4 schedules are in\n");
    const Words lines = linesOf(ran.err);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(contains(lines[0], "entry 2: there is no zone 'Concuorse'; did you mean"));
    EXPECT_TRUE(contains(lines[1], "entry 4: ")) << lines[1];
    EXPECT_TRUE(contains(lines[2], "2 of 4 schedules are not in"));

    const std::string out = (folder.path() / "out").string();
    EXPECT_EQ(runLines(folder, {"schedule export --out " + out}).code, 0);
    std::ifstream exported(out);
    EXPECT_EQ(Json::parse(exported), membersOf({wordy(hostile), schedule(30)}));
    const Ran again = runLines(folder, {"schedule import " + out + " --replace --format json",
                                        "schedule import " + out, "status"});
    EXPECT_EQ(Json::parse(linesOf(again.out).at(0)),
              (Json{{"imported", 2}, {"failed", Json::array()}}));
    EXPECT_EQ(again.code, 4);
    EXPECT_TRUE(contains(again.err, "entry 1: there is a schedule 12 already")) << again.err;

    const Ran cut = runLines(
        folder, {"sim requests off",
                 "schedule import " + file("new", membersOf({schedule(40)})) + " --timeout 0"});
    EXPECT_EQ(cut.code, 5);
    EXPECT_TRUE(contains(cut.out, "0 of 1 schedules are in\n")) << cut.out;
    EXPECT_TRUE(contains(cut.err, "entry 1: the server has not confirmed it in time")) << cut.err;
    for (const char* const bad : {"", "{}", "[1", "\"x\""}) {
        EXPECT_EQ(runLines(folder, {"schedule import " + folder.write("bad", bad)}).code, 1) << bad;
    }
}

/// Imports a file in a process of its own, and kills it when it has reported `enough` schedules.
/// @return the ids that it has reported
std::set<int> importAndKill(const TestFolder& folder, const std::string& file, std::size_t enough) {
    const std::string script = folder.write("script", "schedule import " + file + " --replace");
    const std::string command = "echo $$; exec '" PA_CONSOLE_PROGRAM "' --state '" +
                                (folder.path() / "state").string() +
                                "' monitor --format json --script '" + script + "'";
    FILE* const import = popen(command.c_str(), "r");
    int pid = 0;
    EXPECT_EQ(std::fscanf(import, "%d\n", &pid), 1);
    std::set<int> reported;
    char line[4096];
    while (std::fgets(line, sizeof line, import) != nullptr) {
        const Json change = Json::parse(line, nullptr, false);  // the last line may be cut
        if (change.value("event", "") == "scheduleUpdate") {
            reported.insert(change["Id"].get<int>());
        }
        if (reported.size() == enough) {
            EXPECT_EQ(kill(pid, SIGKILL), 0);
        }
    }
    const int status = pclose(import);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    return reported;
}

TEST(ScheduleTransfer, losesNothingThatWasReportedWhenItIsKilled) {
    const TestFolder folder;
    std::set<int> reported;
    for (const std::size_t enough : {1U, 20U, 57U}) {
        std::vector<ScheduleDefinition> many;  // enough for an import that is not over by then
        for (int id = 1; id <= 5000; ++id) {
            many.push_back(schedule(id));
            many.back().descrption = "for " + std::to_string(enough);
        }
        const std::string file = folder.write("many", membersOf(many).dump());
        const std::set<int> now = importAndKill(folder, file, enough);
        EXPECT_GE(now.size(), enough);
        reported.insert(now.begin(), now.end());
        const Ran kept = runLines(folder, {"schedule export"});  // it refuses a damaged database
        EXPECT_EQ(kept.code, 0) << kept.err;
        for (const Json& entry : Json::parse(kept.out)) {
            reported.erase(entry["Id"].get<int>());
        }
        EXPECT_TRUE(reported.empty()) << *reported.begin() << " is lost";
    }
}

}  // namespace
