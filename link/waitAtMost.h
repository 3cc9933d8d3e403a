// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace palink {

/// Waits as `changed.wait_for`, also for a limit that the clock cannot add to its time.
/// @return whether the condition holds
template <class Condition>
bool waitAtMost(std::condition_variable& changed, std::unique_lock<std::mutex>& guard,
                std::chrono::milliseconds limit, Condition condition) {
    constexpr std::chrono::milliseconds longest = std::chrono::hours(24);
    for (; limit > longest; limit -= longest) {
        if (changed.wait_for(guard, longest, condition)) {
            return true;
        }
    }
    return changed.wait_for(guard, limit, condition);
}

}  // namespace palink
