// SPDX-License-Identifier: Apache-2.0
#include "tests/mqtt/BrokerProcess.h"
#include "tests/paserver/BrokerObserver.h"

namespace {

TEST(ExampleServerTest, PlaysForTheConsole) {
    const TestFolder folder;
    const std::string errors = (folder.path() / "errors").string();
    const std::string python = "/usr/bin/python3";
    if (Process({python, "-c", "import paho.mqtt"}, errors).end() != 0) {
        GTEST_SKIP() << "the server needs python3-paho-mqtt, which is not installed";
    }
    const BrokerProcess broker;
    Process server({python, PA_EXAMPLE_SERVER, "127.0.0.1", std::to_string(broker.port()), "9"},
                   errors);
    BrokerObserver client(broker.options());
    EXPECT_TRUE(client.sync(9)) << server.errors();

    const std::string play = "play --zones Hall --wait --";
    const struct {
        std::string command;
        int code;
        std::string output;  // a pattern
    } rows[] = {
        {"list zones", 0, "\nHall (.|\n)*\nPlatform 1 (.|\n)*\nPlatform 2 "},
        {play + "items 1", 0, "Playing\n.*Finished: played to its end\n"},
        {play + "recording /a.wav", 4, "this server plays only dictionary items\n"},
    };
    for (const auto& [command, code, output] : rows) {
        const std::string line = PA_CONSOLE_PROGRAM " --timeout 20 --server ";
        Process console({"sh", "-c", line + broker.options().url() + ' ' + command + " >&2"},
                        (folder.path() / "console").string());
        EXPECT_EQ(console.end(), code) << command;
        EXPECT_TRUE(std::regex_search(console.errors(), std::regex(output))) << console.errors();
    }
    EXPECT_EQ(server.end(SIGTERM), 0) << server.errors();
    EXPECT_TRUE(client.waitFor([&] { return !client.isOnline(9); }));
}

}  // namespace
