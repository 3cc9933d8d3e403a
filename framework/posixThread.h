// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <pthread.h>

#include "api.h"
#include "fork.h"
namespace pa {

/// A thread of the library: it has a name that log lines and debuggers show, and blocks every
/// asynchronous signal, for signals belong to the application. The signals of faults (SIGSEGV,
/// SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS) are unblocked: a fault in a callback reaches
/// the application's handler, which then runs on this thread.
///
/// The object belongs to the thread that made it. Its destructor joins, but not in the child of a
/// fork(), where the thread does not exist.
class PA_API PosixThread {
public:
    /// Starts the thread.
    /// @param name at most 15 bytes are kept
    /// @param body what it runs; an exception that leaves it ends the process
    /// @throws std::system_error when no thread can be created
    PosixThread(const char* name, std::function<void()> body);
    PosixThread(const PosixThread&) = delete;
    PosixThread& operator=(const PosixThread&) = delete;
    ~PosixThread();

    /// Detaches the thread: the destructor does not wait for it any more.
    void detach();

private:
    pthread_t thread_;
    const unsigned generation_ = pa::forkGeneration();
    bool joinable_ = true;
};

}  // namespace pa
