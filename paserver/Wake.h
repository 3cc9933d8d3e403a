// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace paserver {

/// Wakes a thread that waits for work of several kinds. A call while it does not wait counts for
/// its next wait.
class Wake {
public:
    void wake() {
        {
            const std::lock_guard guard(lock_);
            woken_ = true;
        }
        changed_.notify_one();
    }

    /// Waits for a call, at most so long.
    void waitFor(std::chrono::milliseconds limit) {
        std::unique_lock guard(lock_);
        changed_.wait_for(guard, limit, [this] { return woken_; });
        woken_ = false;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool woken_ = false;  // guarded by lock_
};

}  // namespace paserver
