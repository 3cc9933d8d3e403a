// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/mqtt/Process.h"
#include "tests/paserver/BrokerServerTest.h"

namespace {

struct DaemonTest : BrokerServerTest {
    std::vector<std::string> arguments(std::vector<std::string> more = {}) const {
        std::vector<std::string> words = {"--broker",   broker.options().url(),
                                          "--scenario", PA_STATION_DIR "/small.json",
                                          "--role",     "active"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    void spawn(std::vector<std::string> words) {
        words.insert(words.begin(), PA_SERVER_PROGRAM);
        process.emplace(std::move(words), (folder.path() / "errors").string());
    }

    std::optional<Process> process;
};

TEST_F(DaemonTest, WithdrawsItsRecordsWhenItStops) {
    for (const bool keeps : {false, true}) {
        spawn(arguments(keeps ? std::vector<std::string>{"--keep-records"}
                              : std::vector<std::string>{}));
        EXPECT_TRUE(client.sync());
        const auto startMS = pa::monotonicMS();
        process->signal(SIGTERM);
        EXPECT_EQ(process->end(SIGINT), 0);  // one end, not two
        EXPECT_LT(pa::monotonicMS() - startMS, 2000);
        EXPECT_TRUE(client.waitFor([this] { return !client.isOnline(3); }));
        const auto isWithdrawn = [this] {
            return client.record(3, pa::RecordKind::Zone, 1).empty();
        };
        EXPECT_EQ(keeps ? isWithdrawn() : client.waitFor(isWithdrawn), !keeps);
    }
}

TEST_F(DaemonTest, StopsWhileTheBrokerIsFrozen) {
    spawn(arguments());
    EXPECT_TRUE(client.sync());
    broker.signal(SIGSTOP);
    const auto startMS = pa::monotonicMS();
    EXPECT_EQ(process->end(SIGTERM), 0);
    EXPECT_LT(pa::monotonicMS() - startMS, 2000);
    EXPECT_NE(process->errors().find("records may be left on the broker\n"), std::string::npos);
}

TEST_F(DaemonTest, WaitsForABrokerButNotForOneThatRefusesIt) {
    broker.kill();
    spawn(arguments());
    while (process->errors().find("cannot connect: Connection refused\n") == std::string::npos) {
        std::this_thread::yield();
    }
    broker.restart();
    EXPECT_TRUE(client.sync());
    EXPECT_EQ(process->end(SIGTERM), 0);

    const BrokerProcess strict("listener {PORT} 127.0.0.1\nallow_anonymous false\n");
    spawn({"--broker", strict.options().url(), "--scenario", PA_STATION_DIR "/small.json"});
    EXPECT_EQ(process->end(), 2);
    const std::string text = process->errors();
    EXPECT_EQ(text.find("paserver: " + strict.options().url() + ": "), 0U) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
}

TEST_F(DaemonTest, CleansUpAfterOneThatWasKilled) {
    spawn(arguments());
    EXPECT_TRUE(client.sync());
    const std::string play = R"("request-1",0,500,"2,ip,\"Yard\",12!0,,0^0^0")";
    EXPECT_EQ(askFor(pa::operations::playMessage, play), "accepted");
    EXPECT_TRUE(client.sync());
    process->end(SIGKILL);
    EXPECT_TRUE(client.waitFor([this] { return !client.isOnline(3); })) << "by its last will";
    const auto part = [this] { return client.record(3, pa::RecordKind::Announcement, 1); };
    EXPECT_NE(part(), "");
    spawn(arguments());
    EXPECT_TRUE(client.sync());
    EXPECT_EQ(part(), "");
}

TEST_F(DaemonTest, LeavesStatusAndRecordsToAServerThatReplacesIt) {
    spawn(arguments());
    EXPECT_TRUE(client.sync());
    palink::ServerStatus later = client.status(3);
    ++later.generation;
    client.publish({palink::topics::status(3), palink::encodeStatus(later), 1, true});
    process->end();
    const std::string level = palink::topics::level(3, 1);
    client.publish({level, ""});  // arrives after what the server has published
    EXPECT_TRUE(client.waitFor([&] { return client.countOf(level) == 1; }));
    EXPECT_TRUE(client.isSynced(3));
}

TEST_F(DaemonTest, EndsWithOneLineWhenItCannotStart) {
    const std::string url = broker.options().url();
    const std::string station = PA_STATION_DIR "/small.json";
    const struct {
        std::vector<std::string> words;
        int code;
        std::string text;
    } cases[] = {
        {{"--broker", url}, 1, "paserver: --scenario is required\n"},
        {{"--broker", "mqtt://u:secret@h", "--scenario", station}, 1, ""},
        {arguments({"--credentials", "/nowhere/c"}), 1,
         "paserver: cannot read /nowhere/c: No such file or directory\n"},
        {arguments({"--speed", "nan"}), 1, ""},
        {{"--broker", url, "--scenario", "/nowhere/s.json"},
         2,
         "paserver: /nowhere/s.json: No such file or directory\n"},
        {arguments({"--journal", "--state", "/proc/1/none"}), 2, ""},
    };
    for (const auto& each : cases) {
        spawn(each.words);
        EXPECT_EQ(process->end(), each.code) << process->errors();
        const std::string text = process->errors();
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
        EXPECT_EQ(text.find("secret"), std::string::npos);
        if (!each.text.empty()) {
            EXPECT_EQ(text, each.text);
        }
    }
    EXPECT_EQ(process->errors().substr(0, 13), "<3>paserver: ");
}

TEST_F(DaemonTest, NotifiesTheServiceManager) {
    const std::string path = (folder.path() / "notify").string();
    const int receiver = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(receiver, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    const timeval limit{10, 0};
    setsockopt(receiver, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
    setenv("WATCHDOG_USEC", "300000", 1);
    spawn(arguments());
    unsetenv("NOTIFY_SOCKET");
    unsetenv("WATCHDOG_USEC");
    const auto waitFor = [receiver](const std::string& expected) {
        std::string text;
        for (ssize_t size = 1; size > 0 && text != expected;) {
            text.assign(100, '\0');
            size = recv(receiver, text.data(), text.size(), 0);
            text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        }
        EXPECT_EQ(text, expected);
    };
    waitFor("READY=1");
    waitFor("WATCHDOG=1");
    process->signal(SIGTERM);
    waitFor("STOPPING=1");
    EXPECT_EQ(process->end(), 0);
    close(receiver);
}

}  // namespace
