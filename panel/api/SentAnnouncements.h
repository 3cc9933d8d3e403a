// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "client/Announcement.h"

namespace papanel {

/// The announcements that pages have sent, with their users: each is followed to its end, and known
/// for an hour after it. Also what the software triggers of the pages have started.
///
/// Every function may be called from any thread but from a callback.
class SentAnnouncements {
public:
    static constexpr std::size_t maxKept = 500;
    static constexpr std::chrono::hours keptAfterEnd{1};

    /// An announcement and who has sent it.
    struct Sent {
        std::shared_ptr<paclient::Announcement> announcement;
        std::string user;
        std::int64_t auditRow = 0;  ///< of the request, in the audit trail
    };

    /// Sends an announcement and follows it.
    /// @throws ApiError overloaded when too many are not over yet; else as `paclient::Announcement`
    Sent send(const std::string& user, const std::vector<std::string>& zones,
              const Message& message, std::int64_t auditRow);

    /// Nothing when no page has sent it, or not lately.
    [[nodiscard]] std::optional<Sent> find(const std::string& requestId) const;

    /// Forgets what is over for long. To be called now and then.
    /// @return what is over since the call before
    std::vector<Sent> removeOld();

    /// The record of the announcement that the trigger of a source has started.
    void noteStarted(int sourceId, int announcement);
    /// Nothing when a page has started none.
    [[nodiscard]] std::optional<int> startedBy(int sourceId) const;

private:
    struct Kept : Sent {
        std::int64_t sentMS = 0;
        std::optional<std::int64_t> overSinceMS;
    };

    void makeSpace();

    mutable std::mutex lock_;
    // Guarded by lock_.
    std::map<std::string, Kept> sent_;  // by request id
    std::map<int, int> started_;        // by source
};

}  // namespace papanel
