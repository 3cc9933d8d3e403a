// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <pthread.h>
#include <unistd.h>

#include "framework/clock.h"
#include "framework/log.h"
#include "framework/shared.h"
#include "panel/Arguments.h"
#include "panel/access/userCommand.h"
#include "paserver/ServiceNotice.h"
#include "paserver/journal.h"
#include "paserver/stopSignals.h"

namespace {

constexpr std::size_t stackBytes = std::size_t{1} << 20U;  // of the thread of each connection

/// Serves until a signal asks for the end.
void serve(papanel::Panel& panel, paserver::ServiceNotice& notice) {
    constexpr std::chrono::seconds tick{1};
    notice.ready();
    while (!paserver::awaitStopSignal(tick)) {
        panel.keepHouse();
        notice.works();
    }
    notice.stopping();
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
    paserver::blockStopSignals();   // the main thread waits for them
    std::signal(SIGPIPE, SIG_IGN);  // a client that is away is an error of its socket
    limitStacks();
    const papanel::Arguments arguments = papanel::readArguments(words);
    if (arguments.exitCode) {
        std::fputs(arguments.output.c_str(), stdout);
        return arguments.error.empty() ? *arguments.exitCode
                                       : paserver::refuse("papanel", *arguments.exitCode,
                                                          arguments.error, arguments.journal);
    }
    if (arguments.journal) {
        paserver::logToJournal();
    }
    pa::store(debugLevel, arguments.debug);
    try {
        paserver::ServiceNotice notice;  // before there are threads: it changes the environment
        papanel::Panel panel(arguments.settings);
        std::printf("%s\n", panel.url().c_str());
        std::fflush(stdout);
        if (arguments.settings.audit.empty()) {
            std::fprintf(stderr, "%spapanel: the audit trail is in memory, --audit FILE keeps it\n",
                         arguments.journal ? "<5>" : "");
        }
        serve(panel, notice);
        return papanel::stopped;
    } catch (const std::exception& error) {
        return paserver::refuse("papanel", papanel::cannotStart, error.what(), arguments.journal);
    }
}
