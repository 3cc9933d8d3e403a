// SPDX-License-Identifier: Apache-2.0
#include "console/interrupt.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <ctime>
#include <unistd.h>

#include "console/ExitCode.h"

namespace console::interrupt {

namespace {

constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr std::int64_t never = -1;

std::atomic<int> noted{0};                                    // the signal
std::atomic<std::int64_t> firstMS[] = {never, never, never};  // of each signal
std::atomic<const char*> lastText{nullptr};
std::atomic<int> deferrals{0};
static_assert(std::atomic<int>::is_always_lock_free &&
                  std::atomic<std::int64_t>::is_always_lock_free,
              "a signal handler writes them");

/// The system's clock: a signal handler must not call the host's.
std::int64_t now() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

std::atomic<std::int64_t>& firstOf(int signal) {
    return firstMS[signal == SIGINT ? 0 : signal == SIGTERM ? 1 : 2];
}

/// A SIGINT does not replace a signal that ends the process.
void note(int signal) {
    const std::int64_t time = now();
    std::int64_t first = never;
    if (!firstOf(signal).compare_exchange_strong(first, time) && endsAtOnce(first, time)) {
        const char* const text = lastText;
        const ssize_t ignored = text == nullptr ? 0 : write(STDOUT_FILENO, text, std::strlen(text));
        static_cast<void>(ignored);
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    int none = 0;
    if (signal != SIGINT) {
        noted = signal;
    } else {
        noted.compare_exchange_strong(none, signal);
    }
}

}  // namespace

bool endsAtOnce(std::int64_t first, std::int64_t nowMS) {
    return first >= 0 && nowMS - first > repeatMS;
}

void install() {
    for (const int signal : signals) {
        struct sigaction action = {};
        action.sa_handler = note;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

void writeAtEnd(const char* text) {
    lastText = text;
}

pautil::AtEnd deferChecks() {
    ++deferrals;
    return pautil::AtEnd([] { --deferrals; });
}

void check() {
    if (deferrals == 0) {
        require(noted == 0, "interrupted", ExitCode::Interrupted);
        require(!outputFailed.exchange(false), "the output cannot be written");
    }
}

bool hasCome() {
    return noted != 0;
}

bool rearm() {
    if (noted != SIGINT) {
        return false;
    }
    firstOf(SIGINT) = never;
    outputFailed = false;  // because of it
    int interrupted = SIGINT;
    noted.compare_exchange_strong(interrupted, 0);
    return true;
}

bool isEnding() {
    return noted != 0 && noted != SIGINT;
}

}  // namespace console::interrupt
