// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "panel/http/Route.h"

namespace papanel {

/// The answers to operations, by the user and the key of the request, so that an operation whose
/// answer was lost on the way can be sent again without a second effect. Kept for a day, by the
/// host's clock; when there are too many the oldest are forgotten first.
///
/// Every function may be called from any thread.
class IdempotencyStore {
public:
    static constexpr std::chrono::hours lifetime{24};
    static constexpr std::size_t maxAnswers = 10'000;

    /// @param maxBytes how much all answers may take
    explicit IdempotencyStore(std::size_t maxBytes = std::size_t{16} << 20U)
        : maxBytes_(maxBytes) {}

    /// The answer to a request: that of `run`, or of an earlier request of the same user with the
    /// same key, the header Idempotency-Key. Waits while that one still runs. An ApiError is an
    /// answer, too; but of status 503, with which nothing has been sent, none is kept.
    /// @throws ApiError bad-request without a key of 1 to 64 visible ASCII characters; conflict
    ///                  when the key was that of another request; whatever `run` throws
    ApiReply answer(const ApiRequest& request, const std::function<ApiReply()>& run);

private:
    struct Entry;
    using Key = std::pair<std::string, std::string>;  // user and key

    void forgetOld(std::int64_t now);
    void keep(const Key& key, Entry& entry);

    const std::size_t maxBytes_;
    std::mutex lock_;
    std::condition_variable finished_;
    // Guarded by lock_.
    std::map<Key, std::shared_ptr<Entry>> entries_;
    std::deque<Key> order_;  // of the finished ones, the oldest first
    std::size_t bytes_ = 0;
};

}  // namespace papanel
