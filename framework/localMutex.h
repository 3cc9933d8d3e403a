// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <mutex>
#include <pthread.h>

#include "api.h"
#include "threadAnnotations.h"

/// The interface of a mutex, whatever implements it.
///
/// All operations may be called from any thread; `init()` once, before the first `enter()`.
class PASDK_CAPABILITY("mutex") PA_API qxMutexBase {
public:
    /// Waits for the mutex and takes it.
    /// @throws std::system_error when the system refuses it
    virtual void enter() PASDK_ACQUIRE() = 0;
    /// Gives the mutex back. Only its holder may call this.
    virtual void leave() PASDK_RELEASE() = 0;
    /// Makes the mutex ready for use.
    /// @return 0, or an errno value
    virtual int init() = 0;
    /// Reports through `handleError` when the calling thread does not hold the mutex.
    /// @param where the function that relies on it, for the report
    virtual void assertLocked(const char* where) PASDK_ASSERT_CAPABILITY(this) = 0;
    virtual ~qxMutexBase();

    /// `enter` and `leave` under the names that std::lock_guard and std::unique_lock call.
    void lock() PASDK_ACQUIRE() { enter(); }
    /// See `lock`.
    void unlock() PASDK_RELEASE() { leave(); }
};

/// The mutex between the threads of one process.
class PASDK_CAPABILITY("mutex") PA_API qxLocalMutex final : public qxMutexBase {
public:
    /// @param reentrant whether its holder may enter it again; it is free once it has been left as
    ///                  often as it was entered. Otherwise `enter` throws when the holder enters
    ///                  again.
    explicit qxLocalMutex(bool reentrant);
    qxLocalMutex(const qxLocalMutex&) = delete;
    qxLocalMutex& operator=(const qxLocalMutex&) = delete;
    ~qxLocalMutex() override;

    void enter() PASDK_ACQUIRE() override;
    void leave() PASDK_RELEASE() override;
    int init() override;
    void assertLocked(const char* where) PASDK_ASSERT_CAPABILITY(this) override;

    /// Whether the calling thread is inside. Never waits.
    bool heldByThisThread() const;

    /// In the child of a fork, by its holder: the threads that waited for the mutex do not exist
    /// there.
    void forgetWaiters();

private:
    static constexpr pthread_t noThread = 0;  // a pthread_t of Linux is an address

    const bool reentrant_;
    // One that does not check its holder: to the system a thread that has forked is another one in
    // the child, and could not give back a recursive mutex.
    std::mutex mutex_;
    // Of the thread that gets mutex_ next. A thread that gives mutex_ back and wants it again waits
    // here after the one that is being woken: a thread that enters in a loop excludes no other.
    std::mutex turn_;
    std::atomic<int> waiters_{0};  // threads that wait for turn_ or mutex_
    // Written only by the holder. Its pthread_t is the same in the child.
    std::atomic<pthread_t> holder_{noThread};
    int depth_ = 0;  // guarded by mutex_
};
