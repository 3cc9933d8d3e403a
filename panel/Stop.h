// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace papanel {

/// Whether the gateway ends: what waits for the audio server then gives up. May be used from any
/// thread.
class Stop {
public:
    /// From now on the gateway ends.
    void request() { requested_.store(true, std::memory_order_relaxed); }

    /// Whether it ends.
    [[nodiscard]] bool isRequested() const { return requested_.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> requested_{false};
};

}  // namespace papanel
