// SPDX-License-Identifier: Apache-2.0
#include "framework/posixThread.h"

#include <csignal>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

using namespace pa;

namespace {

struct Body {
    std::string name;
    std::function<void()> run;
};

/// Signals that the thread itself causes. A fault whose signal is blocked ends the process without
/// the application's handler, and with it the traces that a crash handler writes.
constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS};

sigset_t everythingButFaults() {
    sigset_t set;
    sigfillset(&set);
    for (const int fault : faults) {
        sigdelset(&set, fault);
    }
    return set;
}

void* runBody(void* argument) {
    const std::unique_ptr<Body> body(static_cast<Body*>(argument));
    pthread_setname_np(pthread_self(), body->name.substr(0, 15).c_str());
    body->run();
    return nullptr;
}

}  // namespace

PosixThread::PosixThread(const char* name, std::function<void()> body) {
    auto owned = std::make_unique<Body>(Body{name, std::move(body)});
    // A thread starts with its creator's mask: there is no moment at which a signal can reach it.
    const sigset_t blocked = everythingButFaults();
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    const int error = pthread_create(&thread_, nullptr, runBody, owned.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "cannot create a thread");
    }
    static_cast<void>(owned.release());  // the thread owns it now
}

PosixThread::~PosixThread() {
    if (joinable_ && generation_ == pa::forkGeneration()) {
        pthread_join(thread_, nullptr);
    }
}

void PosixThread::detach() {
    pthread_detach(thread_);
    joinable_ = false;
}
