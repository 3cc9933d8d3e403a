// SPDX-License-Identifier: Apache-2.0
#include "panel/api/SentAnnouncements.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "framework/clock.h"
#include "panel/http/ApiError.h"

namespace papanel {

using paclient::Announcement;

namespace {

/// Whether nothing more is expected: of a text that is displayed with the validity 0 the server
/// reports nothing.
bool isOver(const Announcement& announcement) {
    return announcement.isOver() || announcement.partCount() == 0;
}

}  // namespace

SentAnnouncements::Sent SentAnnouncements::send(const std::string& user,
                                                const std::vector<std::string>& zones,
                                                const Message& message, std::int64_t auditRow) {
    {
        const std::lock_guard guard(lock_);
        makeSpace();
    }
    // Not under the lock: a file is uploaded here.
    Kept kept{
        {std::make_shared<Announcement>(zones, message), user, auditRow}, pa::monotonicMS(), {}};
    const std::lock_guard guard(lock_);
    return sent_.insert_or_assign(kept.announcement->requestId(), kept).first->second;
}

std::optional<SentAnnouncements::Sent> SentAnnouncements::find(const std::string& requestId) const {
    const std::lock_guard guard(lock_);
    const auto found = sent_.find(requestId);
    return found == sent_.end() ? std::nullopt : std::optional<Sent>(found->second);
}

std::vector<SentAnnouncements::Sent> SentAnnouncements::removeOld() {
    std::vector<Sent> ended;
    const std::int64_t now = pa::monotonicMS();
    const std::lock_guard guard(lock_);
    for (auto entry = sent_.begin(); entry != sent_.end();) {
        Kept& kept = entry->second;
        if (!kept.overSinceMS && isOver(*kept.announcement)) {
            kept.overSinceMS = now;
            ended.push_back(kept);
        }
        const bool isOld = kept.overSinceMS && now - *kept.overSinceMS >
                                                   std::chrono::milliseconds(keptAfterEnd).count();
        entry = isOld ? sent_.erase(entry) : std::next(entry);
    }
    return ended;
}

/// Forgets the oldest one that is over, or of which the server has never reported anything, when
/// there are too many.
void SentAnnouncements::makeSpace() {
    const auto isLessNeeded = [](const auto& a, const auto& b) {
        const auto rank = [](const Kept& kept) {
            return std::make_pair(isOver(*kept.announcement)           ? 0
                                  : kept.announcement->parts().empty() ? 1
                                                                       : 2,
                                  kept.sentMS);
        };
        return rank(a.second) < rank(b.second);
    };
    if (sent_.size() < maxKept) {
        return;
    }
    const auto least = std::min_element(sent_.begin(), sent_.end(), isLessNeeded);
    const Announcement& announcement = *least->second.announcement;
    if (!isOver(announcement) && !announcement.parts().empty()) {
        throw ApiError(503, "overloaded", "too many announcements are not over yet");
    }
    sent_.erase(least);
}

void SentAnnouncements::noteStarted(int sourceId, int announcement) {
    const std::lock_guard guard(lock_);
    started_[sourceId] = announcement;
}

std::optional<int> SentAnnouncements::startedBy(int sourceId) const {
    const std::lock_guard guard(lock_);
    const auto found = started_.find(sourceId);
    return found == started_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace papanel
