// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <functional>

#include "api.h"

/// @file
/// What happens in the child of fork(). The system copies one thread, and every lock in its state
/// at that moment; so locks are taken before the fork, and threads are started again in the child.
/// docs/threading.md lists what an application may rely on.

namespace pa {

/// In which order locks are taken for a fork: that of docs/threading.md.
enum class ForkRank {
    First,  ///< before any lock is taken
    Controller,
    Facades,
    LevelMeters,
    SendQueue,
    EventQueue,
    Log,
    LogWriter,
};

/// What a part of the SDK does when the process forks. An empty function does nothing; none may
/// throw.
struct ForkHooks {
    /// By the forking thread: takes the part's lock, so that what it guards is consistent.
    std::function<void()> before;
    /// In the parent: gives the lock back.
    std::function<void()> inParent;
    /// In the child, where no other thread exists: makes the lock and what it guards usable, and
    /// gives it back.
    std::function<void()> inChild;
};

/// Takes part in forks as long as it lives; one with a `before` lives as long as the process. May
/// be made and destroyed by any thread, with any lock held.
class PA_API ForkParticipant {
public:
    ForkParticipant(ForkRank rank, ForkHooks hooks);
    ForkParticipant(const ForkParticipant&) = delete;
    ForkParticipant& operator=(const ForkParticipant&) = delete;
    ~ForkParticipant();

private:
    friend struct ForkRegistry;

    const ForkRank rank_;
    const ForkHooks hooks_;
};

/// For `inChild`: has `what` called a second later on a thread of the child, where it may start
/// threads and log. A child that has executed another program by then never does it. A child that
/// forks before starts again: its own child calls `inChild` again.
PA_API void goOnInChild(std::function<void()> what);

/// For `inChild`: makes a condition variable usable. The threads that waited for it are not in the
/// child; its destructor would wait for them.
PA_API void forgetWaiters(std::condition_variable& condition);

/// As long as one lives on a thread, no hook runs when that thread forks: it holds a lock after
/// which it must not take those of the participants, as around a callback. Such a child can only
/// execute another program or end by _exit.
class PA_API ForkBypass {
public:
    ForkBypass();
    ForkBypass(const ForkBypass&) = delete;
    ForkBypass& operator=(const ForkBypass&) = delete;
    ~ForkBypass();
};

/// Another number in every child: what was made under another one belongs to a process before.
PA_API unsigned forkGeneration();

}  // namespace pa
