#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "link/mqtt/Requests.h"

namespace palink {

/// Collects the ends of requests for a thread that waits for them.
class RequestEnds {
public:
    /// What a request calls when it ends. May outlive this.
    [[nodiscard]] std::function<void(const RequestEnd&)> taker() const {
        return [shared = shared_](const RequestEnd& end) {
            const std::lock_guard guard(shared->lock);
            shared->ends.push_back(end);
            shared->arrived.notify_one();
        };
    }

    /// Waits for the next end; each request has one.
    RequestEnd take() {
        std::unique_lock guard(shared_->lock);
        shared_->arrived.wait(guard, [this] { return !shared_->ends.empty(); });
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

    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace palink
