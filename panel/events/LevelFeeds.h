// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <mutex>

namespace papanel {

/// The level meters that pages look at: each is switched on by the first page and off by the last
/// one. May be used from any thread.
class LevelFeeds {
public:
    /// The readings of a source's amplifier element come while one of these lives.
    class Feed {
    public:
        Feed(LevelFeeds& feeds, int sourceId);
        Feed(const Feed&) = delete;
        Feed& operator=(const Feed&) = delete;
        ~Feed();

        [[nodiscard]] int element() const { return element_; }

    private:
        LevelFeeds& feeds_;
        const int sourceId_;
        const int element_;
    };

private:
    void count(int sourceId, int element, int change);

    std::mutex lock_;
    std::map<int, int> users_;  // by element; guarded by lock_
};

}  // namespace papanel
