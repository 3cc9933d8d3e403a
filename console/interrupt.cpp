#include "console/interrupt.h"

#include <atomic>
#include <csignal>

#include "console/ExitCode.h"

namespace console::interrupt {

namespace {

std::atomic<int> noted{0};  // the signal
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

/// A SIGINT takes nothing back from a signal that ends the process.
void note(int signal) {
    int none = 0;
    if (signal != SIGINT) {
        noted = signal;
    } else {
        noted.compare_exchange_strong(none, signal);
    }
}

void noteOnce(int signal) {
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

void install() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        noteOnce(signal);
    }
}

void check() {
    if (noted != 0) {
        throw Failure(ExitCode::Interrupted, "interrupted");
    }
}

bool rearm() {
    if (noted != SIGINT) {
        return false;
    }
    noteOnce(SIGINT);  // first: from now on none is lost to the system's way
    int interrupted = SIGINT;
    noted.compare_exchange_strong(interrupted, 0);
    return true;
}

bool isEnding() {
    return noted != 0 && noted != SIGINT;
}

}  // namespace console::interrupt
