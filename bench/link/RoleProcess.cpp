// SPDX-License-Identifier: Apache-2.0
#include "bench/link/RoleProcess.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "bench/link/roles.h"

namespace bench {

RoleProcess::Pipe::Pipe() : ends{-1, -1} {
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe for a process");
    }
}

RoleProcess::RoleProcess(std::vector<std::string> words)
    : RoleProcess(std::move(words), Pipe(), Pipe()) {
    read("prepared");
}

RoleProcess::RoleProcess(std::vector<std::string> words, Pipe input, Pipe output)
    : role_(words.at(0)), input_(input.ends[1]), output_(output.ends[0]) {
    words.insert(words.begin(), {"broker_link_bench", roleArgument});
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    id_ = fork();
    if (id_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input.ends[0], STDIN_FILENO);
        dup2(output.ends[1], STDOUT_FILENO);
        execv("/proc/self/exe", arguments.data());
        std::_Exit(1);
    }
    close(input.ends[0]);
    close(output.ends[1]);
}

RoleProcess::~RoleProcess() {
    if (id_ > 0) {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
    if (input_ >= 0) {
        close(input_);
    }
}

void RoleProcess::begin() {
    constexpr char line = '\n';
    if (write(input_, &line, 1) != 1) {
        throw std::runtime_error(role_ + " has ended");
    }
}

std::vector<std::int64_t> RoleProcess::read(const std::string& what) {
    std::istringstream line(readLine());
    std::string word;
    if (!(line >> word) || word != what) {
        throw std::runtime_error(role_ + " has failed: \"" + what + "\" is missing");
    }
    std::vector<std::int64_t> numbers;
    for (std::int64_t number = 0; line >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

void RoleProcess::end() {
    close(std::exchange(input_, -1));
    int state = 0;
    if (waitpid(std::exchange(id_, 0), &state, 0) < 0 || state != 0) {
        throw std::runtime_error(role_ + " has failed");
    }
}

std::string RoleProcess::readLine() {
    std::size_t size = rest_.find('\n');
    while (size == std::string::npos) {
        std::array<char, 65536> block;
        const ssize_t count = ::read(output_.number(), block.data(), block.size());
        if (count <= 0) {
            return {};
        }
        const std::size_t before = rest_.size();
        rest_.append(block.data(), static_cast<std::size_t>(count));
        size = rest_.find('\n', before);
    }
    std::string line = rest_.substr(0, size);
    rest_.erase(0, size + 1);
    return line;
}

}  // namespace bench
