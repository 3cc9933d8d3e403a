// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "link/mqtt/Requests.h"

namespace palink {

/// Collects the ends of requests for a thread that waits for them.
class RequestEnds {
public:
    /// @param isAbandoned asked about every 50 ms by the thread that waits: whether it waits no
    /// more
    explicit RequestEnds(std::function<bool()> isAbandoned)
        : isAbandoned_(std::move(isAbandoned)) {}

    /// What a request calls when it ends. May outlive this.
    [[nodiscard]] std::function<void(const RequestEnd&)> taker() const {
        return [shared = shared_](const RequestEnd& end) {
            const std::lock_guard guard(shared->lock);
            shared->ends.push_back(end);
            shared->arrived.notify_one();
        };
    }

    /// Waits for the next end; each request has one.
    /// @return nothing when the wait is abandoned
    std::optional<RequestEnd> take() {
        constexpr std::chrono::milliseconds tick{50};
        std::unique_lock guard(shared_->lock);
        while (shared_->ends.empty()) {
            if (isAbandoned_()) {
                return std::nullopt;
            }
            shared_->arrived.wait_for(guard, tick);
        }
        RequestEnd end = std::move(shared_->ends.front());
        shared_->ends.pop_front();
        return end;
    }

private:
    struct Shared {
        std::mutex lock;
        std::condition_variable arrived;
        std::deque<RequestEnd> ends;  // guarded by lock
    };

    const std::function<bool()> isAbandoned_;
    const std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace palink
