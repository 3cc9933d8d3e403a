#include "tests/mqtt/BrokerProcess.h"
#include "tests/paserver/BrokerObserver.h"

namespace {

constexpr const char* python = "/usr/bin/python3";

/// The server in Python, and the console as a client of it.
struct ExampleServerTest : testing::Test {
    std::string file(const std::string& name) const { return (folder.path() / name).string(); }

    /// The exit code of a command of the console, and what it writes.
    std::string console(std::vector<std::string> words) const {
        words.insert(words.begin(), {"sh", "-c", R"(exec "$@" >&2)", "sh", PA_CONSOLE_PROGRAM,
                                     "--server", broker.options().url(), "--timeout", "20"});
        Process program(std::move(words), file("console"));
        const int code = program.end();
        return std::to_string(code) + '\n' + program.errors();
    }

    TestFolder folder;
    BrokerProcess broker;
};

TEST_F(ExampleServerTest, PlaysForTheConsole) {
    if (Process({python, "-c", "import paho.mqtt"}, file("paho")).end() != 0) {
        GTEST_SKIP() << "the server needs python3-paho-mqtt, which is not installed";
    }
    const std::string port = std::to_string(broker.port());
    Process server({python, PA_EXAMPLE_SERVER, "127.0.0.1", port, "9"}, file("server"));
    BrokerObserver client(broker.options());
    EXPECT_TRUE(client.sync(9)) << server.errors();

    const std::string zones = console({"list", "zones"});
    EXPECT_EQ(zones.rfind("0\n", 0), 0U) << zones;
    for (const char* const zone : {"\nHall ", "\nPlatform 1 ", "\nPlatform 2 "}) {
        EXPECT_NE(zones.find(zone), std::string::npos) << zones;
    }
    const std::string play = console({"play", "--zones", "Hall", "--items", "1", "--wait"});
    EXPECT_EQ(play.rfind("0\n", 0), 0U) << play;
    EXPECT_TRUE(std::regex_search(play, std::regex("Playing\n.*Finished: played to its end\n")))
        << play;
    const std::string refused =
        console({"play", "--zones", "Hall", "--recording", "/a.wav", "--wait"});
    EXPECT_EQ(refused.rfind("4\n", 0), 0U) << refused;
    EXPECT_NE(refused.find("this server plays only dictionary items"), std::string::npos);
    EXPECT_EQ(server.end(SIGTERM), 0) << server.errors();
    EXPECT_TRUE(client.waitFor([&] { return !client.isOnline(9); }));
}

}  // namespace
