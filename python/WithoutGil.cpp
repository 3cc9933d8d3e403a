// SPDX-License-Identifier: Apache-2.0
#include "python/WithoutGil.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include "framework/fork.h"

namespace papython {

namespace {

thread_local WithoutGil* current = nullptr;

/// Which threads may take the interpreter's lock. Never destroyed: threads wait in it at exit.
struct Passage {
    std::mutex lock;
    std::condition_variable changed;
    // Guarded by lock.
    int entering = 0;  // threads that wait for the interpreter's lock
    bool isEnding = false;
    std::thread::id ender;

    const pa::ForkParticipant acrossFork{pa::ForkRank::First,
                                         {[this] { lock.lock(); }, [this] { lock.unlock(); },
                                          [this] {
                                              pa::forgetWaiters(changed);
                                              entering = 0;
                                              lock.unlock();
                                          }}};

    void take(PyThreadState* state) {
        {
            std::unique_lock guard(lock);
            const bool mayPass = !isEnding || ender == std::this_thread::get_id();
            changed.wait(guard, [mayPass] { return mayPass; });
            ++entering;
        }
        PyEval_RestoreThread(state);
        const std::lock_guard guard(lock);
        --entering;
        changed.notify_all();
    }

    void close() {
        std::unique_lock guard(lock);
        isEnding = true;
        ender = std::this_thread::get_id();
        changed.wait(guard, [this] { return entering == 0; });
    }
};

Passage& passage() {
    static Passage& instance = *new Passage;
    return instance;
}

}  // namespace

WithoutGil::WithoutGil() : outer_(current), state_(PyEval_SaveThread()) {
    current = this;
}

WithoutGil::~WithoutGil() {
    passage().take(state_);
    current = outer_;
}

bool WithoutGil::isInterrupted() {
    if (!interrupted_) {
        passage().take(state_);
        interrupted_ = PyErr_CheckSignals() != 0;
        state_ = PyEval_SaveThread();
    }
    return interrupted_;
}

bool WithoutGil::isCallerInterrupted() {
    return current != nullptr && current->isInterrupted();
}

void WithoutGil::throwIfInterrupted() {
    if (isInterrupted()) {
        throw Interrupted{};
    }
}

void beginExit() {
    const WithoutGil withoutGil;
    passage().close();
}

}  // namespace papython
