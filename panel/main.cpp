// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <memory>
#include <pthread.h>
#include <string>
#include <unistd.h>

#include "framework/posixThread.h"
#include "panel/Arguments.h"
#include "panel/access/UserFile.h"
#include "panel/access/userCommand.h"
#include "paserver/ServiceNotice.h"
#include "paserver/daemonStart.h"
#include "paserver/stopSignals.h"

namespace {

constexpr std::size_t stackBytes = std::size_t{1} << 20U;  // of the thread of each connection

sigset_t hangup() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGHUP);
    return set;
}

/// Whether SIGHUP has come since the last call.
bool hasHungUp() {
    const sigset_t set = hangup();
    const timespec atOnce{};
    return sigtimedwait(&set, nullptr, &atOnce) == SIGHUP;
}

void note(const std::string& text, bool journal) {
    std::fprintf(stderr, "%spapanel: %s\n", journal ? "<5>" : "", text.c_str());
}

void noteSettings(const papanel::PanelSettings& settings, bool journal) {
    if (settings.audit.empty()) {
        note("the audit trail is in memory, --audit FILE keeps it", journal);
    }
    if (!settings.users.empty() && papanel::readUsers(settings.users).users().empty()) {
        note("no one can log in: add a user with papanel user add NAME --role operator --users " +
                 settings.users.string(),
             journal);
    }
    if (!settings.isEncrypted && !settings.isBehindProxy &&
        !papanel::isLoopbackHost(settings.http.host)) {
        note("passwords come over the network in the clear: see --tls-cert and --behind-proxy",
             journal);
    }
}

/// Serves until a signal asks for the end, or the terminal of the daemon is closed. SIGHUP else has
/// files read again.
void serve(papanel::Panel& panel, paserver::ServiceNotice& notice, bool journal) {
    constexpr std::chrono::seconds tick{1};
    const bool hadTerminal = isatty(STDIN_FILENO) == 1;
    notice.ready();
    while (!paserver::awaitStopSignal(tick)) {
        if (hasHungUp()) {
            if (hadTerminal && isatty(STDIN_FILENO) != 1) {
                return;
            }
            if (panel.readFiles()) {
                note("certificate and users have been read again", journal);
            }
        }
        panel.keepHouse();
        notice.works();
    }
}

void stop(std::unique_ptr<papanel::Panel> panel, paserver::ServiceNotice& notice) {
    notice.stopping();
    std::atomic<bool> hasEnded{false};
    pa::PosixThread ending("papanel stop", [&] {
        panel.reset();
        hasEnded = true;
    });
    paserver::awaitEnd([&] {
        notice.works();
        return hasEnded.load();
    });
}

/// Small stacks: a thousand connections have a thread each.
void limitStacks() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (!words.empty() && words.front() == "user") {
        words.erase(words.begin());
        return papanel::runUserCommand(words, std::cin, std::cout, std::cerr,
                                       isatty(STDIN_FILENO) == 1 ? STDIN_FILENO : -1);
    }
    paserver::blockStopSignals();  // the main thread waits for them
    const sigset_t files = hangup();
    pthread_sigmask(SIG_BLOCK, &files, nullptr);
    std::signal(SIGPIPE, SIG_IGN);  // a client that is away is an error of its socket
    limitStacks();
    const papanel::Arguments arguments = papanel::readArguments(words);
    if (const auto exitCode = paserver::beginDaemon("papanel", arguments)) {
        return *exitCode;
    }
    try {
        paserver::ServiceNotice notice;  // before there are threads: it changes the environment
        auto panel = std::make_unique<papanel::Panel>(arguments.settings);
        std::printf("%s\n", panel->url().c_str());
        std::fflush(stdout);
        noteSettings(arguments.settings, arguments.journal);
        serve(*panel, notice, arguments.journal);
        stop(std::move(panel), notice);
        return papanel::stopped;
    } catch (const std::exception& error) {
        return paserver::refuse("papanel", papanel::cannotStart, error.what(), arguments.journal);
    }
}
