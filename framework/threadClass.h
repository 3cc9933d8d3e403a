// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "api.h"
#include "fork.h"

/// Base of an object that runs a thread of its own.
///
/// The thread is a `PosixThread`: it blocks every signal but those of faults. Nothing stops it from
/// outside, so the object must outlive it; the destructor ends the process (std::terminate) rather
/// than let a thread continue in a destroyed object.
///
/// A thread that runs at a fork() is started again in the child, a second later, with a new call of
/// `threadFunction`; the thread that forks is not.
class PA_API threadClass {
public:
    threadClass();
    threadClass(const threadClass&) = delete;
    threadClass& operator=(const threadClass&) = delete;
    virtual ~threadClass();

    /// The body of the thread.
    /// @param argument what `start` was given
    /// @return ignored
    virtual int threadFunction(void* argument) = 0;

    /// Creates the thread, which calls `threadFunction(argument)` once. At most one thread runs at
    /// a time.
    /// @throws std::system_error when no thread can be created
    /// @throws std::logic_error when the thread runs already
    void start(void* argument);

private:
    void launch();
    void launchAgain();

    std::atomic<bool> running_{false};
    void* argument_ = nullptr;  // of the thread that runs
    pa::ForkParticipant acrossFork_;
};
