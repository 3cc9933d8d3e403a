// SPDX-License-Identifier: Apache-2.0
#include "panel/api/announcementEnds.h"

#include "panel/api/SentAnnouncements.h"
#include "panel/audit/AuditTrail.h"

namespace papanel {

using paclient::Announcement;

namespace {

std::string auditedOutcome(const Announcement& announcement) {
    // Of a text that is displayed with the validity 0 no more is reported.
    const Announcement::State state = announcement.state();
    const bool isDone = state == Announcement::State::Finished || !isEnd(state);
    return isDone ? "done" : nameOf(state);
}

std::string auditedText(const Announcement& announcement) {
    const std::string reason = announcement.reason();
    return "request " + announcement.requestId() + " is over" +
           (reason.empty() ? "" : ": " + reason);
}

}  // namespace

void finishAnnouncements(Services& services) {
    for (const auto& sent : services.announcements.removeOld()) {
        services.audit.finish(sent.auditRow, auditedOutcome(*sent.announcement),
                              auditedText(*sent.announcement));
    }
}

}  // namespace papanel
