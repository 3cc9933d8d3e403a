// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/ChildProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace simserver {

namespace {

/// Starts a program that inherits nothing of this process but the stream, which is its input and
/// its output: no other file, no blocked or ignored signal, no Ctrl-C of the terminal.
/// @return 0, or the number of the error
int start(std::vector<std::string>& command, int stream, pid_t& pid) {
    std::vector<char*> arguments(command.size() + 1, nullptr);
    std::transform(command.begin(), command.end(), arguments.begin(),
                   [](std::string& argument) { return argument.data(); });
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawn_file_actions_t files;
    posix_spawnattr_t traits;
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&traits);
    constexpr short set = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP;
    const bool prepared =
        posix_spawn_file_actions_adddup2(&files, stream, STDIN_FILENO) == 0 &&
        posix_spawn_file_actions_adddup2(&files, stream, STDOUT_FILENO) == 0 &&
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0) == 0 &&
        posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1) == 0 &&
        posix_spawnattr_setsigmask(&traits, &none) == 0 &&
        posix_spawnattr_setsigdefault(&traits, &all) == 0 &&
        posix_spawnattr_setflags(&traits, set) == 0;
    const int error =
        prepared ? posix_spawnp(&pid, arguments.front(), &files, &traits, arguments.data(), environ)
                 : ENOMEM;
    posix_spawnattr_destroy(&traits);
    posix_spawn_file_actions_destroy(&files);
    return error;
}

/// A program that runs, if it could be started. The destructor kills it.
class Child {
public:
    explicit Child(std::vector<std::string>& command) {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0) {
            stream_ = ends[0];
            startError_ = start(command, ends[1], pid_);
            pid_ = startError_ == 0 ? pid_ : 0;
            close(ends[1]);
        } else {
            startError_ = errno;
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        kill();
        wait();
        if (stream_ >= 0) {
            close(stream_);
        }
    }

    /// Number of the error; 0 for a program that was started.
    int startError() const { return startError_; }

    /// This end of its input and output.
    int stream() const { return stream_; }

    bool hasEnded() const {
        siginfo_t end{};
        return pid_ == 0 ||
               waitid(P_PID, static_cast<id_t>(pid_), &end, WEXITED | WNOHANG | WNOWAIT) != 0 ||
               end.si_pid != 0;
    }

    void kill() const {
        if (pid_ != 0) {
            ::kill(pid_, SIGKILL);
        }
    }

    /// @return its exit code; nothing when it was killed
    std::optional<int> wait() {
        int status = 0;
        pid_t ended = pid_;
        while (pid_ != 0 && (ended = waitpid(pid_, &status, 0)) < 0 && errno == EINTR) {
        }
        pid_ = 0;
        return ended > 0 && WIFEXITED(status) ? std::make_optional(WEXITSTATUS(status))
                                              : std::nullopt;
    }

private:
    int stream_ = -1;
    int startError_ = 0;
    pid_t pid_ = 0;
};

bool isForLater(ssize_t result) {
    return result < 0 && (errno == EAGAIN || errno == EINTR);
}

/// Sends as much input as a program takes now, and the end of the input.
/// @return whether there is more to send
bool sendSome(int stream, std::string_view& input) {
    const ssize_t count = send(stream, input.data(), input.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (isForLater(count)) {
        return true;
    }
    input.remove_prefix(count < 0 ? input.size() : static_cast<std::size_t>(count));
    if (input.empty()) {
        shutdown(stream, SHUT_WR);
    }
    return !input.empty();
}

/// Takes what a program has written.
/// @return false at its end
bool receiveSome(int stream, std::string& output) {
    std::array<char, 16384> piece{};
    const ssize_t count = recv(stream, piece.data(), piece.size(), MSG_DONTWAIT);
    output.append(piece.data(), count < 0 ? 0 : static_cast<std::size_t>(count));
    return count > 0 || isForLater(count);
}

}  // namespace

std::optional<ProgramEnd> runProgram(std::vector<std::string> command, const std::string& input,
                                     const std::function<bool(const std::string&)>& mayContinue,
                                     std::chrono::milliseconds patience) {
    using std::chrono::milliseconds;
    constexpr milliseconds interval{100};
    constexpr milliseconds exitInterval{1};  // nothing wakes this thread when the program ends
    Child child(command);
    ProgramEnd end;
    std::string_view unsent = input;
    milliseconds idle{0};
    bool sending = true;
    end.startError = child.startError();
    bool receiving = end.startError == 0;
    while (receiving || !child.hasEnded()) {
        if (!mayContinue(end.output)) {
            return std::nullopt;
        }
        // It may write before it has read everything, so both are waited for.
        const milliseconds pause = receiving ? interval : exitInterval;
        pollfd ready{receiving ? child.stream() : -1,
                     static_cast<short>(sending ? POLLIN | POLLOUT : POLLIN), 0};
        const int count = poll(&ready, 1, static_cast<int>(pause.count()));
        idle = count == 0 ? idle + pause : milliseconds{0};
        if (count > 0 && (ready.revents & POLLOUT) != 0) {
            sending = sendSome(child.stream(), unsent);
        }
        if (count > 0 && (ready.revents & ~POLLOUT) != 0) {
            receiving = receiveSome(child.stream(), end.output);
        }
        if (idle >= patience) {
            child.kill();
            break;
        }
    }
    end.exitCode = child.wait();
    return end;
}

}  // namespace simserver
