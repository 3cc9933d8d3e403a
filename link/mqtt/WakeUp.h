// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace palink {

/// Has one thread return from its poll. `signal` may be called by any thread, and costs nothing
/// while that thread has not looked yet.
class WakeUp {
public:
    /// @throws std::system_error
    WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;
    ~WakeUp();

    void signal();

    /// Before the thread looks at what `signal` was called for.
    void clear();

    /// Readable when `signal` has been called.
    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    const int descriptor_;
    std::atomic<bool> isSignalled_{false};
};

}  // namespace palink
