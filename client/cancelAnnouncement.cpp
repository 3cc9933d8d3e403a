// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "client/Announcement.h"
#include "client/confirmed.h"
#include "sdk/PAController.h"

namespace paclient {

namespace {

using State = Announcement::State;

/// Has the server cancel, and waits until each of `active` is withdrawn.
Cancellation cancelAll(const std::map<int, AnnouncementRequest>& active,
                       const std::string& requestId, const std::function<void()>& send,
                       const Wait& wait) {
    std::map<int, AnnouncementRequest> ended;
    ConfirmedRequest request;
    request.operations = {pa::operations::cancelMessage};
    request.requestId = requestId;
    request.send = send;
    request.take = [&](const Change& change) {
        // What is reported again after a loss was deleted from the caches only.
        if (const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change)) {
            ended.erase(update->record.id);
        }
        const auto* const deletion = std::get_if<Deleted<AnnouncementRequest>>(&change);
        if (deletion != nullptr && active.count(deletion->record.id) > 0) {
            ended[deletion->record.id] = deletion->record;
        }
    };
    request.holds = [&] { return ended.size() == active.size() && !active.empty(); };
    Cancellation result{confirm(request, wait), {}};
    for (const auto& [number, record] : ended) {
        const State state = stateOf(record);
        if (result.confirmation.state == Confirmation::State::Done && state != State::Cancelled) {
            const bool isKnown = isEnd(state);
            result.confirmation = {
                isKnown ? Confirmation::State::Refused : Confirmation::State::ConnectionLost,
                "request " + record.getRequestID() + ' ' +
                    (isKnown ? std::string(nameOf(state)) + " before it could be cancelled"
                             : "was withdrawn without a result")};
        }
        result.ended.push_back(record);
    }
    return result;
}

template <class Predicate>
std::map<int, AnnouncementRequest> activeRecords(Predicate matches) {
    std::map<int, AnnouncementRequest> records;
    for (const AnnouncementRequest& record : gPaController.getAnnouncementRequests()) {
        if (matches(record)) {
            records.emplace(record.id, record);
        }
    }
    return records;
}

}  // namespace

Cancellation cancelAnnouncement(const std::string& requestId, const Wait& wait) {
    const auto active = activeRecords(
        [&](const AnnouncementRequest& record) { return record.getRequestID() == requestId; });
    return cancelAll(
        active, requestId, [&] { gPaController.cancelMessage(requestId); }, wait);
}

Cancellation cancelAnnouncements(Message::Type type, const Wait& wait) {
    const auto active = activeRecords([type](const AnnouncementRequest& record) {
        return record.getAudioMessageType() == type || record.getVisualMessageType() == type;
    });
    return cancelAll(
        active, "", [type] { gPaController.cancelMessage(type); }, wait);
}

}  // namespace paclient
