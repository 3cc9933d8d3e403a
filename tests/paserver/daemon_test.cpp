#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/paserver/BrokerServerTest.h"

namespace {

struct DaemonTest : BrokerServerTest {
    ~DaemonTest() override {
        if (process > 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
    }

    std::vector<std::string> arguments(std::vector<std::string> more = {}) const {
        std::vector<std::string> words = {"--broker",   broker.options().url(),
                                          "--scenario", PA_STATION_DIR "/small.json",
                                          "--role",     "active"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    void spawn(std::vector<std::string> words) {
        words.insert(words.begin(), PA_SERVER_PROGRAM);
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors().c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ASSERT_EQ(
            posix_spawn(&process, PA_SERVER_PROGRAM, &actions, nullptr, pointers.data(), environ),
            0);
        posix_spawn_file_actions_destroy(&actions);
    }

    /// The exit code, or that of the shell for a signal.
    int end() {
        int state = 0;
        waitpid(process, &state, 0);
        process = 0;
        constexpr int bySignal = 128;
        return WIFEXITED(state) ? WEXITSTATUS(state) : bySignal + WTERMSIG(state);
    }

    std::string errors() const { return (folder.path() / "errors").string(); }

    std::string errorText() const {
        std::ifstream in(errors());
        return {std::istreambuf_iterator<char>(in), {}};
    }

    pid_t process = 0;
};

TEST_F(DaemonTest, WithdrawsItsRecordsWhenItStops) {
    for (const bool keeps : {false, true}) {
        spawn(arguments(keeps ? std::vector<std::string>{"--keep-records"}
                              : std::vector<std::string>{}));
        EXPECT_TRUE(client.sync());
        const auto startMS = pa::monotonicMS();
        kill(process, SIGTERM);
        kill(process, SIGINT);  // one end, not two
        EXPECT_EQ(end(), 0);
        EXPECT_LT(pa::monotonicMS() - startMS, 2000);
        EXPECT_TRUE(client.waitFor([this] { return !client.isOnline(3); }));
        const auto zone = client.now([this] { return client.record(3, pa::RecordKind::Zone, 1); });
        EXPECT_EQ(zone.empty(), !keeps);
    }
}

TEST_F(DaemonTest, StopsWhileTheBrokerIsFrozen) {
    spawn(arguments());
    EXPECT_TRUE(client.sync());
    broker.signal(SIGSTOP);
    const auto startMS = pa::monotonicMS();
    kill(process, SIGTERM);
    EXPECT_EQ(end(), 0);
    EXPECT_LT(pa::monotonicMS() - startMS, 2000);
}

TEST_F(DaemonTest, WaitsForABrokerButNotForOneThatRefusesIt) {
    broker.kill();
    spawn(arguments());
    while (errorText().find("cannot connect: Connection refused\n") == std::string::npos) {
        std::this_thread::yield();
    }
    broker.restart();
    EXPECT_TRUE(client.sync());
    kill(process, SIGTERM);
    EXPECT_EQ(end(), 0);

    const BrokerProcess strict("listener {PORT} 127.0.0.1\nallow_anonymous false\n");
    spawn({"--broker", strict.options().url(), "--scenario", PA_STATION_DIR "/small.json"});
    EXPECT_EQ(end(), 2);
    const std::string text = errorText();
    EXPECT_EQ(text.find("paserver: " + strict.options().url() + ": "), 0U) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
}

TEST_F(DaemonTest, CleansUpAfterOneThatWasKilled) {
    spawn(arguments());
    EXPECT_TRUE(client.sync());
    const std::string play = R"("request-1",0,500,"2,ip,\"Yard\",12!0,,0^0^0")";
    EXPECT_EQ(askFor(pa::operations::playMessage, play), "accepted");
    EXPECT_TRUE(client.sync());
    kill(process, SIGKILL);
    end();
    EXPECT_TRUE(client.waitFor([this] { return !client.isOnline(3); })) << "by its last will";
    const auto part = [this] { return client.record(3, pa::RecordKind::Announcement, 1); };
    EXPECT_NE(client.now(part), "");
    spawn(arguments());
    EXPECT_TRUE(client.sync());
    EXPECT_EQ(client.now(part), "");
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
        {arguments({"--clock", "noon"}), 1, ""},
        {arguments({"--credentials", "/nowhere/c"}), 1,
         "paserver: cannot read /nowhere/c: No such file or directory\n"},
        {{"--broker", url, "--scenario", "/nowhere/s.json"}, 2, ""},
        {arguments({"--state", "/proc/1/none"}), 2, ""},
        {arguments({"--journal", "--state", "/proc/1/none"}), 2, ""},
    };
    for (const auto& each : cases) {
        spawn(each.words);
        EXPECT_EQ(end(), each.code) << errorText();
        const std::string text = errorText();
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
        EXPECT_EQ(text.find("secret"), std::string::npos);
        if (!each.text.empty()) {
            EXPECT_EQ(text, each.text);
        }
    }
    EXPECT_EQ(errorText().substr(0, 13), "<3>paserver: ");
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
    const auto notice = [receiver] {
        std::string text(100, '\0');
        const ssize_t size = recv(receiver, text.data(), text.size(), 0);
        text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return text;
    };
    setenv("NOTIFY_SOCKET", path.c_str(), 1);
    setenv("WATCHDOG_USEC", "300000", 1);
    spawn(arguments());
    unsetenv("NOTIFY_SOCKET");
    unsetenv("WATCHDOG_USEC");
    std::set<std::string> seen;
    while (seen.size() < 2) {
        seen.insert(notice());
    }
    EXPECT_EQ(seen, (std::set<std::string>{"READY=1", "WATCHDOG=1"}));
    kill(process, SIGTERM);
    std::string last;
    while ((last = notice()) == "WATCHDOG=1") {
    }
    EXPECT_EQ(last, "STOPPING=1");
    EXPECT_EQ(end(), 0);
    close(receiver);
}

}  // namespace
