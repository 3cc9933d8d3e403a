#pragma once

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <regex>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "link/mqtt/BrokerOptions.h"
#include "tests/mqtt/ScriptedPeer.h"
#include "tests/support/TestFolder.h"

/// A mosquitto of the test on a free port of the loopback, ended with the object.
class BrokerProcess {
public:
    /// Every client may do everything, nothing is kept.
    static constexpr const char* open =
        "listener {PORT} 127.0.0.1\nallow_anonymous true\nset_tcp_nodelay true\n"
        "max_queued_messages 1000000\nmax_inflight_messages 1000\n";

    /// Starts it, and waits until it accepts connections.
    /// @param configuration of mosquitto, with {PORT} in place of the port
    explicit BrokerProcess(std::string configuration = open)
        : configuration_(std::move(configuration)) {
        constexpr int attempts = 20;
        for (int i = 0; i < attempts; ++i) {
            port_ = Listener(0).port();
            if (start()) {
                return;
            }
        }
        throw std::runtime_error("mosquitto does not start: " + log());
    }
    BrokerProcess(const BrokerProcess&) = delete;
    BrokerProcess& operator=(const BrokerProcess&) = delete;
    ~BrokerProcess() {
        signal(SIGCONT);
        kill(SIGKILL);
    }

    int port() const { return port_; }

    palink::BrokerOptions options() const {
        return palink::parseBrokerUrl("mqtt://127.0.0.1:" + std::to_string(port_));
    }

    /// What it has logged.
    std::string log() const {
        std::ostringstream text;
        text << std::ifstream(logFile()).rdbuf();
        return text.str();
    }

    /// SIGSTOP freezes it, SIGCONT has it go on, SIGHUP has it read its files again.
    void signal(int number) const {
        if (process_ > 0) {
            ::kill(process_, number);
        }
    }

    /// Ends it, and waits for that.
    void kill(int number = SIGKILL) {
        signal(number);
        if (process_ > 0) {
            waitpid(process_, nullptr, 0);
            process_ = 0;
        }
    }

    /// Starts it again on the same port.
    void restart() {
        kill();
        if (!start()) {
            throw std::runtime_error("mosquitto does not start again: " + log());
        }
    }

private:
    std::string logFile() const { return (folder_.path() / "log").string(); }

    /// @return whether it runs: not so when the port was taken meanwhile
    bool start() {
        std::ofstream(logFile()).close();
        const std::string file = folder_.write(
            "mosquitto.conf",
            std::regex_replace(configuration_, std::regex("\\{PORT\\}"), std::to_string(port_)) +
                "\nuser root\nlog_type information\nlog_dest stderr\n");
        spawn({"setpriv", "--pdeathsig", "KILL", "/usr/sbin/mosquitto", "-c", file});
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < limit) {
            if (log().find(" running") != std::string::npos) {
                return true;
            }
            if (waitpid(process_, nullptr, WNOHANG) == process_) {
                process_ = 0;
                return false;
            }
            std::this_thread::yield();
        }
        kill();
        return false;
    }

    void spawn(std::vector<std::string> words) {
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, logFile().c_str(),
                                         O_WRONLY | O_APPEND, 0);
        const int failure =
            posix_spawnp(&process_, arguments[0], &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (failure != 0) {
            process_ = 0;
            throw std::runtime_error("cannot start " + words[0]);
        }
    }

    const std::string configuration_;
    const TestFolder folder_{"pa-broker"};
    int port_ = 0;
    pid_t process_ = 0;
};
