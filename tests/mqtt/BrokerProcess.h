// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>

#include "link/mqtt/BrokerOptions.h"
#include "tests/mqtt/LoopbackSocket.h"
#include "tests/mqtt/Process.h"
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
            port_ = LoopbackSocket(0).port();
            if (start()) {
                return;
            }
        }
        throw std::runtime_error("mosquitto does not start: " + process_->errors());
    }

    int port() const { return port_; }
    pid_t id() const { return process_->id(); }

    palink::BrokerOptions options() const {
        return palink::parseBrokerUrl("mqtt://127.0.0.1:" + std::to_string(port_));
    }

    /// What it has logged.
    std::string log() const { return process_->errors(); }

    /// SIGSTOP freezes it, SIGCONT has it go on.
    void signal(int number) const { process_->signal(number); }

    /// Ends it, and waits for that.
    void kill(int number = SIGKILL) { process_->end(number); }

    /// Starts it again on the same port.
    void restart() {
        kill();
        if (!start()) {
            throw std::runtime_error("mosquitto does not start again: " + process_->errors());
        }
    }

private:
    /// @return whether it runs: not so when the port was taken meanwhile
    bool start() {
        const std::string file = folder_.write(
            "mosquitto.conf",
            std::regex_replace(configuration_, std::regex("\\{PORT\\}"), std::to_string(port_)) +
                "\nuser root\nlog_type information\nlog_dest stderr\n");
        process_.reset();
        process_.emplace(std::vector<std::string>{"/usr/sbin/mosquitto", "-c", file},
                         (folder_.path() / "log").string());
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!process_->hasEnded() && std::chrono::steady_clock::now() < limit) {
            if (process_->errors().find(" running") != std::string::npos) {
                return true;
            }
            std::this_thread::yield();
        }
        return false;
    }

    const std::string configuration_;
    const TestFolder folder_{"pa-broker"};
    int port_ = 0;
    std::optional<Process> process_;
};
