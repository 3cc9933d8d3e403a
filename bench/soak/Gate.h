// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Lets the threads work, and waits for them.
class Gate {
public:
    void open(bool on) {
        const std::lock_guard guard(lock_);
        open_ = on;
        changed_.notify_all();
    }
    void end() {
        const std::lock_guard guard(lock_);
        ended_ = true;
        changed_.notify_all();
    }
    /// @return false when the thread is to end
    bool enter(std::chrono::steady_clock::time_point earliest) {
        std::unique_lock guard(lock_);
        changed_.wait_until(guard, earliest, [this] { return ended_; });
        changed_.wait(guard, [this] { return open_ || ended_; });
        busy_ += ended_ ? 0 : 1;
        return !ended_;
    }
    void leave() {
        const std::lock_guard guard(lock_);
        --busy_;
        changed_.notify_all();
    }
    void waitUntilQuiet() {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return busy_ == 0; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool open_ = false;
    bool ended_ = false;
    int busy_ = 0;
};
