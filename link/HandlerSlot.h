// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "../framework/fork.h"
#include "../framework/log.h"

namespace palink {

/// Holds a handler of the application, which may be replaced while it runs.
///
/// Every function may be called from any thread. A handler runs, is copied and is destroyed without
/// a lock, so an object that it owns may use the slot.
///
/// In the child of a fork() the calls of the parent are not waited for: their threads are not
/// there. One that forked inside a handler returns from it in the child as well; until then no
/// other thread of the child replaces that handler.
template <class What>
class HandlerSlot {
public:
    /// What is called.
    using Handler = std::function<void(const What&)>;

    HandlerSlot() = default;
    HandlerSlot(const HandlerSlot&) = delete;
    HandlerSlot& operator=(const HandlerSlot&) = delete;
    ~HandlerSlot() { leaveParent(); }

    /// Replaces the handler; an empty one removes it. When this returns no earlier handler is
    /// running, unless this is called from inside one of them. So two handlers of two slots, each
    /// of which replaces the other, wait for each other without end.
    void set(Handler handler) {
        auto entry = handler ? std::make_unique<StoredHandler>(std::move(handler)) : nullptr;
        std::unique_lock guard(lock_);
        leaveParent();
        std::swap(current_, entry);
        isSet_ = current_ != nullptr;
        const std::uint64_t before = generation_++;
        const bool inside = std::any_of(calls_.begin(), calls_.end(), isOfThisThread);
        if (!inside) {
            left_.wait(guard, [&] {
                return std::none_of(calls_.begin(), calls_.end(), [before](const Call& call) {
                    return call.generation <= before;
                });
            });
        } else if (entry != nullptr && isRunning(*entry)) {
            StoredHandler& running = *entry;
            running.left = std::move(entry);
        }
        guard.unlock();  // before the entry is destroyed
    }

    /// Calls the handler; an exception that leaves it is reported.
    /// @return false when there is none
    bool call(const What& what) {
        if (!isSet_) {
            return false;
        }
        StoredHandler* entry = nullptr;
        {
            const std::lock_guard guard(lock_);
            leaveParent();
            if (current_ == nullptr) {
                return false;
            }
            entry = current_.get();
            calls_.push_back({std::this_thread::get_id(), entry, generation_});
        }
        try {
            entry->handler(what);
        } catch (const std::exception& e) {
            handleError(1, "a handler threw >%s<", e.what());
        } catch (...) {
            handleError(1, "a handler threw");
        }
        std::unique_ptr<StoredHandler> unused;  // destroyed after the guard
        const std::lock_guard guard(lock_);
        leaveParent();
        const auto mine = std::find_if(calls_.begin(), calls_.end(), [entry](const Call& call) {
            return isOfThisThread(call) && call.entry == entry;  // GCOVR_EXCL_BR_LINE
        });
        if (mine != calls_.end()) {  // else another thread of the child has forgotten it
            calls_.erase(mine);
        }
        if (!isRunning(*entry)) {
            unused = std::move(entry->left);
        }
        left_.notify_all();
        return true;
    }

private:
    struct StoredHandler {
        explicit StoredHandler(Handler h) : handler(std::move(h)) {}

        const Handler handler;
        std::unique_ptr<StoredHandler> left;  // itself, when it was replaced from inside: the last
                                              // of its calls destroys it; guarded by lock_
    };

    /// A call that has not returned.
    struct Call {
        std::thread::id thread;
        StoredHandler* entry;
        std::uint64_t generation;
    };

    static bool isOfThisThread(const Call& call) {
        return call.thread == std::this_thread::get_id();
    }

    /// With lock_ held: forgets the threads of the parent when this is the child of a fork().
    void leaveParent() {
        if (process_ != pa::forkGeneration()) {
            process_ = pa::forkGeneration();
            pa::forgetWaiters(left_);
            calls_.erase(std::remove_if(calls_.begin(), calls_.end(), std::not_fn(isOfThisThread)),
                         calls_.end());
        }
    }

    bool isRunning(const StoredHandler& entry) const {
        return std::any_of(calls_.begin(), calls_.end(),
                           [&entry](const Call& call) { return call.entry == &entry; });
    }

    std::mutex lock_;
    std::condition_variable left_;  // a call has returned
    // Guarded by lock_.
    std::unique_ptr<StoredHandler> current_;
    std::atomic<bool> isSet_{false};  // whether there is one; also read without the lock
    std::uint64_t generation_ = 0;    // of current_, counted by replacements
    std::vector<Call> calls_;
    unsigned process_ = pa::forkGeneration();  // that calls_ belongs to
};

}  // namespace palink
