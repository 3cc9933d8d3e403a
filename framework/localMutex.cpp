#include "framework/localMutex.h"

#include <system_error>

#include "framework/log.h"

qxMutexBase::~qxMutexBase() = default;

qxLocalMutex::qxLocalMutex(bool reentrant) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes,
                              reentrant ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_ERRORCHECK);
    const int error = pthread_mutex_init(&mutex_, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "qxLocalMutex");
    }
}

qxLocalMutex::~qxLocalMutex() {
    pthread_mutex_destroy(&mutex_);
}

void qxLocalMutex::enter() {
    if (const int error = pthread_mutex_lock(&mutex_); error != 0) {
        throw std::system_error(error, std::generic_category(), "qxLocalMutex::enter");
    }
    ++depth_;
    holder_.store(pthread_self(), std::memory_order_relaxed);
}

void qxLocalMutex::leave() {
    if (!heldByThisThread()) {
        handleError(1, "%s: the mutex is not held by this thread", "leave");
        return;
    }
    if (--depth_ == 0) {
        holder_.store(nobody, std::memory_order_relaxed);
    }
    pthread_mutex_unlock(&mutex_);
}

int qxLocalMutex::init() {
    return 0;  // the constructor has done it all
}

void qxLocalMutex::assertLocked(const char* where) {
    if (!heldByThisThread()) {
        handleError(1, "%s: called without the mutex", where);
    }
}

bool qxLocalMutex::heldByThisThread() const {
    return holder_.load(std::memory_order_relaxed) == pthread_self();
}
