// SPDX-License-Identifier: Apache-2.0
#include "framework/localMutex.h"

#include <cerrno>
#include <new>
#include <system_error>

#include "framework/log.h"

qxMutexBase::~qxMutexBase() = default;

qxLocalMutex::qxLocalMutex(bool reentrant) : reentrant_(reentrant) {}

qxLocalMutex::~qxLocalMutex() = default;

void qxLocalMutex::enter() {
    if (!heldByThisThread()) {
        // Without a waiter there is no turn to wait for.
        if (waiters_.load(std::memory_order_relaxed) != 0 || !mutex_.try_lock()) {
            ++waiters_;
            const std::lock_guard turn(turn_);
            mutex_.lock();
            --waiters_;
        }
        holder_.store(pthread_self(), std::memory_order_relaxed);
    } else if (!reentrant_) {
        throw std::system_error(EDEADLK, std::generic_category(), "qxLocalMutex::enter");
    }
    ++depth_;
}

void qxLocalMutex::leave() {
    if (!heldByThisThread()) {
        handleError(1, "%s: the mutex is not held by this thread", "leave");
        return;
    }
    if (--depth_ == 0) {
        holder_.store(noThread, std::memory_order_relaxed);
        mutex_.unlock();
    }
}

int qxLocalMutex::init() {
    return 0;  // nothing is left to do
}

void qxLocalMutex::assertLocked(const char* where) {
    if (!heldByThisThread()) {
        handleError(1, "%s: called without the mutex", where);
    }
}

void qxLocalMutex::forgetWaiters() {
    new (&turn_) std::mutex;
    waiters_ = 0;
}

bool qxLocalMutex::heldByThisThread() const {
    return holder_.load(std::memory_order_relaxed) == pthread_self();
}
