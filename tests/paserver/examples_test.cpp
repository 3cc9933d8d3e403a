// SPDX-License-Identifier: Apache-2.0
#include <regex>

#include "tests/mqtt/Process.h"
#include "tests/paserver/BrokerServerTest.h"

/// The examples, each against a server on a broker.

namespace {

struct ExamplesTest : BrokerServerTest {};

TEST_F(ExamplesTest, DoWhatTheirFirstLinesPromise) {
    start();
    const std::string schedules = folder.write(
        "schedules.json", R"([{"Id": 5, "startYear": 2026, "startMonth": 12, "startDay": 1,
            "endYear": 2026, "endMonth": 12, "endDay": 31, "endHour": 9, "dayMask": 31,
            "paZones": ["Yard"], "announcementType": 2, "dictionaryItems": [12]},
            {"Id": 6}])");
    folder.write("keys", "5\nq\n");
    const struct {
        std::string command;  // the program, its arguments and its input
        int signal;           // ends the program when the output is there, 0: it ends by itself
        int code;
        std::string output;  // a pattern
    } rows[] = {
        {"tutorial Yard Hall", 0, 0, "playing\nfinished: played to its end\n$"},
        {"tutorial Yrd", 0, 1, "^tutorial: .*Yard"},
        {"coroutine Yard Hall", 0, 0, "Yard: First call: played(.|\n)*Yard: Last call: played"},
        {"panel <keys", 0, 0, "5  Yard: (.|\n)*announced in Yard\n"},
        {"importSchedules " + schedules, 0, 1, "^imported: 1\nentry 2 failed: "},
        {"recorder", SIGTERM, 0, R"("event":"zoneUpdate","record":\{"elemNo":0,"id":"Yard")"},
        {"ownLoop", SIGTERM, 0, "synced\n(.|\n)*zone Yard: |zone Yard: (.|\n)*synced\n"},
    };
    for (const auto& [command, signal, code, output] : rows) {
        const std::size_t name = command.find_first_of(' ');
        const std::string line = "cd " + folder.path().string() + " && exec " PA_PROGRAM_DIR "/" +
                                 command.substr(0, name) +
                                 " --server 127.0.0.1:" + std::to_string(broker.port()) +
                                 (name == std::string::npos ? "" : command.substr(name)) + " >&2";
        Process program({"sh", "-c", line}, (folder.path() / "output").string());
        const std::regex pattern(output);
        while (signal != 0 && !program.hasEnded() &&
               !std::regex_search(program.errors(), pattern)) {
            std::this_thread::yield();
        }
        EXPECT_EQ(program.end(signal), code) << command;
        EXPECT_TRUE(std::regex_search(program.errors(), pattern)) << program.errors();
    }
}

}  // namespace
