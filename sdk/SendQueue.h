#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "sdk/QXReceiver.h"

namespace pa {

/// The inside of the send queue: what waits, in which order and how long. A plain value without a
/// lock; times are in ms of the host's monotonic clock.
class SendQueue {
public:
    struct Waiting {
        Operation operation;
        std::int64_t since;  ///< when it was queued
    };

    explicit SendQueue(std::size_t capacity) : capacity_(capacity) {}

    /// Appends the operation.
    /// @return false when the queue is full
    bool push(Operation operation, std::int64_t nowMS);

    /// Takes the operation at the head.
    std::optional<Waiting> pop();

    /// Puts back at the head what `pop` has taken last.
    void putBack(Waiting taken);

    /// Takes the operations that have waited for longer than the limit.
    std::vector<Waiting> takeExpired(std::int64_t nowMS);

    void setMaxWait(std::chrono::milliseconds wait) { maxWait_ = wait; }
    bool empty() const { return waiting_.empty(); }

private:
    std::size_t capacity_;
    std::chrono::milliseconds maxWait_{5000};
    std::deque<Waiting> waiting_;  // oldest first
};

}  // namespace pa
