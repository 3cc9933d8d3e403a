// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <ostream>
#include <poll.h>
#include <sstream>
#include <unistd.h>

#include "console/Console.h"
#include "console/interrupt.h"

namespace {

/// A standard descriptor that the caller has closed must not become that of the next file opened:
/// output would be written to it.
void occupyStandardDescriptors() {
    int opened = open("/dev/null", O_RDONLY);
    while (opened >= 0 && opened <= STDERR_FILENO) {
        opened = open("/dev/null", O_RDONLY);
    }
    close(opened);
}

/// Writes to a descriptor when it is flushed. A signal ends the wait for a reader of a pipe that
/// does not read, on whatever thread it waits.
class DescriptorBuffer final : public std::stringbuf {
public:
    explicit DescriptorBuffer(int descriptor)
        : std::stringbuf(std::ios::out), descriptor_(descriptor) {}

private:
    int sync() override {
        const std::string text = str();
        str({});
        std::size_t written = 0;
        while (written < text.size() && awaitReader()) {
            // So much fits when a pipe is ready.
            const std::size_t count = std::min<std::size_t>(text.size() - written, PIPE_BUF);
            const ssize_t done = write(descriptor_, text.data() + written, count);
            if (done < 0 && errno != EINTR && errno != EAGAIN) {
                return -1;
            }
            written += done < 0 ? 0 : static_cast<std::size_t>(done);
        }
        return written == text.size() ? 0 : -1;
    }

    bool awaitReader() const {
        constexpr int tickMS = 50;
        pollfd waiting = {descriptor_, POLLOUT, 0};
        while (poll(&waiting, 1, tickMS) <= 0) {
            if (console::interrupt::hasCome()) {
                return false;
            }
        }
        return true;
    }

    const int descriptor_;
};

}  // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);  // a closed output is an error of its stream
    console::interrupt::install();
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    const auto terminal = [](int descriptor) { return isatty(descriptor) == 1 ? descriptor : -1; };
    DescriptorBuffer outBuffer(STDOUT_FILENO);
    DescriptorBuffer errorBuffer(STDERR_FILENO);
    std::ostream out(&outBuffer);
    std::ostream errors(&errorBuffer);
    return console::run(words, {out, errors, terminal(STDOUT_FILENO), terminal(STDERR_FILENO)});
}
