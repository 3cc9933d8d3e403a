// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// A program that the test has started, ended with the object, or with the test.
class Process {
public:
    /// @param errors the file for what it writes to its standard error
    Process(std::vector<std::string> words, std::string errors) : errors_(std::move(errors)) {
        std::ofstream(errors_).close();
        words.insert(words.begin(), {"setpriv", "--pdeathsig", "KILL"});
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors_.c_str(),
                                         O_WRONLY | O_APPEND, 0);
        if (posix_spawnp(&id_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
            throw std::runtime_error("cannot start " + words[3]);
        }
        posix_spawn_file_actions_destroy(&actions);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() { end(SIGKILL); }

    pid_t id() const { return id_; }

    void signal(int number) const {
        if (id_ > 0) {
            ::kill(id_, number);
        }
    }

    /// Sends a signal and waits for the end.
    /// @return the exit code, or that of the shell for a signal
    int end(int number = 0) {
        signal(number);
        if (id_ > 0 && waitpid(id_, &state_, 0) == id_) {
            id_ = 0;
        }
        constexpr int bySignal = 128;
        return WIFEXITED(state_) ? WEXITSTATUS(state_) : bySignal + WTERMSIG(state_);
    }

    bool hasEnded() {
        if (id_ > 0 && waitpid(id_, &state_, WNOHANG) == id_) {
            id_ = 0;
        }
        return id_ == 0;
    }

    /// What it has written to its standard error.
    std::string errors() const {
        std::ifstream file(errors_);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    const std::string errors_;
    pid_t id_ = 0;
    int state_ = 0;
};
