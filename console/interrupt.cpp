#include "console/interrupt.h"

#include <atomic>
#include <csignal>

#include "console/ExitCode.h"

namespace console::interrupt {

namespace {

std::atomic<bool> noted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

void note(int /*signal*/) {
    noted = true;
}

}  // namespace

void install() {
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

void check() {
    if (noted) {
        throw Failure(ExitCode::Interrupted, "interrupted");
    }
}

}  // namespace console::interrupt
