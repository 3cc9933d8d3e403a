#include <csignal>
#include <fcntl.h>
#include <iostream>
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

}  // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);  // a closed output is an error of its stream
    console::interrupt::install();
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    const auto terminal = [](int descriptor) { return isatty(descriptor) == 1 ? descriptor : -1; };
    return console::run(words,
                        {std::cout, std::cerr, terminal(STDOUT_FILENO), terminal(STDERR_FILENO)});
}
