// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

#include "../framework/localMutex.h"
#include "../framework/threadAnnotations.h"

namespace pa {

/// Holds a mutex for a scope.
class PASDK_SCOPED_CAPABILITY MutexGuard {
public:
    explicit MutexGuard(qxMutexBase& mutex) PASDK_ACQUIRE(mutex) : mutex_(mutex) { mutex_.enter(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;
    ~MutexGuard() PASDK_RELEASE() { mutex_.leave(); }

private:
    qxMutexBase& mutex_;
};

/// A lock that is held for one search or change, never across a call out. Its holder takes no
/// other.
class PASDK_CAPABILITY("mutex") LeafLock {
public:
    void lock() PASDK_ACQUIRE() { mutex_.lock(); }
    void unlock() PASDK_RELEASE() { mutex_.unlock(); }

private:
    std::mutex mutex_;
};

/// Holds a leaf lock for a scope.
class PASDK_SCOPED_CAPABILITY LeafGuard {
public:
    explicit LeafGuard(LeafLock& lock) PASDK_ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    LeafGuard(const LeafGuard&) = delete;
    LeafGuard& operator=(const LeafGuard&) = delete;
    ~LeafGuard() PASDK_RELEASE() { lock_.unlock(); }

private:
    LeafLock& lock_;
};

}  // namespace pa
