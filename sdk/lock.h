#pragma once

#include <mutex>

#include "framework/localMutex.h"
#include "framework/threadAnnotations.h"

/// Holds a mutex for a scope.
class PA_SCOPED_CAPABILITY MutexGuard {
public:
    explicit MutexGuard(qxMutexBase& mutex) PA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.enter(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;
    ~MutexGuard() PA_RELEASE() { mutex_.leave(); }

private:
    qxMutexBase& mutex_;
};

/// A lock for a search or a change alone, never held across a call out. Its holder takes no other.
class PA_CAPABILITY("mutex") LeafLock {
public:
    void lock() PA_ACQUIRE() { mutex_.lock(); }
    void unlock() PA_RELEASE() { mutex_.unlock(); }

private:
    std::mutex mutex_;
};

/// Holds a leaf lock for a scope.
class PA_SCOPED_CAPABILITY LeafGuard {
public:
    explicit LeafGuard(LeafLock& lock) PA_ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    LeafGuard(const LeafGuard&) = delete;
    LeafGuard& operator=(const LeafGuard&) = delete;
    ~LeafGuard() PA_RELEASE() { lock_.unlock(); }

private:
    LeafLock& lock_;
};
