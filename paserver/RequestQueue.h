// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "paserver/ClientRequest.h"

namespace paserver {

/// The requests that wait, in the order in which they have arrived. Bounded by memory: what does
/// not fit is dropped, for clients send again what is not answered. Every function may be called
/// from any thread.
class RequestQueue {
public:
    static constexpr std::size_t maxBytes = std::size_t{32} << 20U;

    /// @return false when it is dropped
    bool add(ClientRequest request) {
        const std::lock_guard guard(lock_);
        if (bytes_ + request.bytes() > maxBytes) {
            return false;
        }
        bytes_ += request.bytes();
        queue_.push_back(std::move(request));
        return true;
    }

    std::optional<ClientRequest> take() {
        const std::lock_guard guard(lock_);
        if (queue_.empty()) {
            return std::nullopt;
        }
        std::optional<ClientRequest> first(std::move(queue_.front()));
        queue_.pop_front();
        bytes_ -= first->bytes();
        return first;
    }

    [[nodiscard]] std::size_t size() const {
        const std::lock_guard guard(lock_);
        return queue_.size();
    }

    void clear() {
        const std::lock_guard guard(lock_);
        queue_.clear();
        bytes_ = 0;
    }

private:
    mutable std::mutex lock_;
    std::deque<ClientRequest> queue_;  // guarded by lock_
    std::size_t bytes_ = 0;            // guarded by lock_
};

}  // namespace paserver
