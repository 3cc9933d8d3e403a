// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>

#include "sdk/QXReceiver.h"

namespace pa {

/// The state of the send queue: the waiting operations, their order and age. A plain value without
/// a lock; times are in ms of the host's monotonic clock.
class SendQueue {
public:
    struct WaitingOperation {
        Operation operation;
        std::int64_t since = 0;  ///< when it was queued
    };

    /// What an operation counts in addition to the bytes of its payload: the `WaitingOperation` (at
    /// most 64 bytes), its share of the container and what the allocator keeps of the payload's
    /// block, rounded up.
    static constexpr std::size_t overhead = 128;

    explicit SendQueue(std::size_t maxBytes) : maxBytes_(maxBytes) {}

    /// Appends the operation.
    /// @return false, with the operation unchanged, when the queue is full
    /// @throws std::bad_alloc likewise
    bool push(Operation&& operation, std::int64_t nowMS);

    bool empty() const { return waiting_.empty(); }
    std::size_t size() const { return waiting_.size(); }

    /// The operation at the head, of a queue that is not empty. Its address stays the same while
    /// others are appended.
    const WaitingOperation& front() const { return waiting_.front(); }

    /// Whether the operation at the head has waited for longer than the limit.
    bool isFrontTooOld(std::int64_t nowMS) const;

    /// Removes the operation at the head.
    void pop();

    void setMaxWait(std::chrono::milliseconds wait) { maxWait_ = wait; }

    /// Waiting operations stay, whatever the bound is.
    void setMaxBytes(std::size_t bytes) { maxBytes_ = bytes; }

private:
    std::size_t maxBytes_;
    std::size_t bytes_ = 0;  // of what waits
    std::chrono::milliseconds maxWait_{5000};
    std::deque<WaitingOperation> waiting_;  // oldest first
};

}  // namespace pa
