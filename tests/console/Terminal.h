// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

/// The console's shell as a process of its own, on a terminal of its own.
class Terminal {
public:
    /// @param folder where its history is kept
    Terminal(const TestFolder& folder, const char* debug) {
        const std::string state = "XDG_STATE_HOME=" + folder.path().string();
        const char* const arguments[] = {"paconsole", "--speed", "20",   "--debug",
                                         debug,       "shell",   nullptr};
        const char* const environment[] = {"TERM=xterm", "LC_ALL=C", state.c_str(), nullptr};
        const winsize size = {24, 60, 0, 0};
        child_ = forkpty(&master_, nullptr, nullptr, &size);
        if (child_ == 0) {
            execve(PA_CONSOLE_PROGRAM, const_cast<char* const*>(arguments),
                   const_cast<char* const*>(environment));
            _exit(127);
        }
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
        if (master_ >= 0) {
            close(master_);
        }
    }

    bool isThere() const { return child_ > 0; }

    void type(const std::string& keys) const {
        EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    void send(int signal) const { kill(child_, signal); }

    /// What the program writes up to this text and with it.
    std::string readUntil(const std::string& text) {
        while (!contains(written_, text) && readMore()) {
        }
        const std::size_t at = written_.find(text);
        EXPECT_NE(at, std::string::npos) << text << " is missing: " << written_;
        const std::size_t end = at == std::string::npos ? written_.size() : at + text.size();
        const std::string result = written_.substr(0, end);
        written_.erase(0, end);
        return result;
    }

    int exitCode() {
        while (readMore()) {
        }
        int status = 0;
        waitpid(std::exchange(child_, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    /// Whether what is typed is handed to programs line by line.
    bool isAsUsual() const {
        termios modes = {};
        tcgetattr(master_, &modes);
        return (modes.c_lflag & ICANON) != 0 && (modes.c_lflag & ECHO) != 0;
    }

private:
    bool readMore() {
        constexpr int limitMS = 30000;
        pollfd waiting = {master_, POLLIN, 0};
        char buffer[4096];
        const ssize_t count = poll(&waiting, 1, limitMS) > 0 ? read(master_, buffer, 4096) : 0;
        written_.append(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
        return count > 0;
    }

    int master_ = -1;
    pid_t child_ = -1;
    std::string written_;
};
