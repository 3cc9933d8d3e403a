// SPDX-License-Identifier: Apache-2.0
#include "client/AnnouncementCourse.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "client/checkMessage.h"
#include "client/confirmed.h"
#include "client/messageParts.h"
#include "framework/uuid.h"

namespace paclient {

namespace {

using State = Announcement::State;
using Part = Announcement::Part;
using palink::ConnectionChange;

std::string usableId(std::string id) {
    constexpr std::size_t shortest = 6;
    constexpr std::size_t longest = 63;
    if (id.size() < shortest || id.size() > longest) {
        id.clear();
        generateUUID(id);
    }
    return id;
}

/// How many records the server keeps for a message.
std::size_t partsOf(const Message& message) {
    const bool isReported = hasVisualPart(message) && message.getVisualMessageValidity() != 0;
    return (hasAudioPart(message) ? 1U : 0U) + (isReported ? 1U : 0U);
}

const std::vector<pa::OperationType> playOperations = {pa::operations::playMessage};
const std::vector<pa::OperationType> cancelOperations = {pa::operations::cancelMessage};

}  // namespace

Announcement::Course::Course(const Message& message, Callback function)
    : id(usableId(message.getRequestID())),
      expectedParts(partsOf(message)),
      priority(message.getPriority()),
      callback(std::move(function)) {}

void Announcement::Course::take(const Change& change) {
    std::vector<Notice> due;
    {
        const std::lock_guard guard(lock);
        const State before = state();
        std::visit([this](const auto& what) { take(what); }, change);
        if ((notices.empty() ? before : notices.back().state) != state()) {
            notices.push_back({state(), std::nullopt});  // the last one has the state that holds
        }
        due.swap(notices);
    }
    changed.notify_all();
    if (callback) {
        notify(due);
    }
}

/// Calls the callback with each notice, then throws the first exception that left it.
void Announcement::Course::notify(const std::vector<Notice>& due) {
    std::exception_ptr first;
    for (const Notice& notice : due) {
        try {
            callback(notice.state, notice.part ? &*notice.part : nullptr);
        } catch (...) {
            first = first ? first : std::current_exception();
        }
    }
    if (first) {
        std::rethrow_exception(first);
    }
}

void Announcement::Course::take(const Updated<AnnouncementRequest>& update) {
    const AnnouncementRequest& record = update.record;
    if (isOther(record)) {
        noteOther(record);
        return;
    }
    endWhole(State::Sending, "");  // it has arrived, whatever was taken for its end
    reportedAgain.insert(record.id);
    const auto [entry, isNew] = parts.try_emplace(record.id);
    Part& part = entry->second;
    const State before = part.state;
    part = {record, stateOf(record), record.completionMsg, false};
    if (part.state == State::Playing && before != State::Playing) {
        taken[partName(record)].clear();
    }
    if (isNew || part.state != before) {
        notices.push_back({state(), part});
    }
}

/// Those that play before this one begins.
void Announcement::Course::notePlaying(const std::vector<AnnouncementRequest>& records) {
    const std::lock_guard guard(lock);
    for (const AnnouncementRequest& record : records) {
        if (stateOf(record) == State::Playing) {
            playingOthers.insert(record.id);
        }
    }
}

/// An announcement begins when it has all of its zones, a live one when it has any: that takes only
/// those which its priority gives it. What is reported again after a loss of the connection began
/// before.
void Announcement::Course::noteOther(const AnnouncementRequest& record) {
    if (stateOf(record) != State::Playing) {
        playingOthers.erase(record.id);
        return;
    }
    const bool isNew = playingOthers.insert(record.id).second;
    const bool isLive = record.getAudioMessageType() == Message::LIVE_STREAM;
    const bool hasPart = hasAudioPart(record) || hasVisualPart(record);
    if (isNew && !isAway && hasPart && (!isLive || isHigher(record, priority))) {
        taken[partName(record)].insert(record.zones.begin(), record.zones.end());
    }
}

/// Deletions while the connection is away are those of the caches, not of the server, except of
/// what the server has reported again.
void Announcement::Course::take(const Deleted<AnnouncementRequest>& deletion) {
    const AnnouncementRequest& record = deletion.record;
    if (isOther(record)) {
        playingOthers.erase(record.id);
        return;
    }
    if (isAway && reportedAgain.count(record.id) == 0) {
        return;
    }
    const auto found = parts.find(record.id);
    if (found == parts.end()) {
        if (record.id == 0) {  // no record of the server
            endWhole(State::Failed, "not uploaded");
        }
        return;
    }
    Part& part = found->second;
    part.isOver = true;
    if (!isEnd(part.state)) {
        part.state = State::Unknown;
        part.reason = "withdrawn without a result";
        notices.push_back({state(), part});
    }
}

void Announcement::Course::take(const palink::Refusal& refusal) {
    // A request that the server could not read has no id in the refusal; it is one without parts.
    const bool isOpen = !refusal.requestId.empty() || parts.empty();
    if (isRefusalOf(playOperations, id, refusal) && isOpen) {
        endWhole(State::Refused, refusal.reason);
    } else if (isRefusalOf(cancelOperations, id, refusal)) {
        refusedCancel = refusal.reason;
    }
}

void Announcement::Course::take(const pa::DroppedOperation& dropped) {
    if (isDropOf(playOperations, id, dropped)) {
        endWhole(State::Failed, "not sent: " + dropped.text);
    } else if (isDropOf(cancelOperations, id, dropped)) {
        refusedCancel = "not sent: " + dropped.text;
    }
}

void Announcement::Course::take(const ConnectionChange& change) {
    if (change.state == ConnectionChange::State::Disconnected) {
        isAway = true;
        reportedAgain.clear();
        return;
    }
    const bool isStopped = change.state == ConnectionChange::State::Stopped;
    if (!isStopped && (change.state != ConnectionChange::State::Synced || !isAway)) {
        return;
    }
    isAway = false;
    isComplete = true;
    for (auto& [number, part] : parts) {
        if (part.isOver || reportedAgain.count(number) > 0) {
            continue;
        }
        part.isOver = true;
        if (!isEnd(part.state)) {
            part.state = State::Unknown;
            part.reason = "the connection was lost meanwhile";
            notices.push_back({state(), part});
        }
    }
    if (parts.empty() && whole == State::Sending) {
        endWhole(State::Unknown, "the connection was lost meanwhile");
    }
}

void Announcement::Course::endWhole(State state, const std::string& reason) {
    whole = state;
    wholeReason = reason;
}

/// The part that the state of the request is that of; null when there is none.
const Part* Announcement::Course::decisivePart() const {
    const Part* decisive = nullptr;
    const auto rank = [](const Part& part) {
        return std::make_pair(!part.isOver, part.state);  // what is not over first
    };
    for (const auto& entry : parts) {
        if (decisive == nullptr || rank(entry.second) > rank(*decisive)) {
            decisive = &entry.second;
        }
    }
    return decisive;
}

State Announcement::Course::state() const {
    if (whole != State::Sending) {
        return whole;
    }
    if (isAway && !isOver()) {
        return State::Unknown;
    }
    const Part* const part = decisivePart();
    if (part == nullptr) {
        return State::Sending;
    }
    const bool mayFollow = part->state == State::Finished && !isOver() && part->isOver;
    return mayFollow ? State::Accepted : part->state;
}

std::string Announcement::Course::reason() const {
    if (whole != State::Sending) {
        return wholeReason;
    }
    if (isAway && !isOver()) {
        return "the connection is lost";
    }
    const Part* const part = decisivePart();
    return part == nullptr ? std::string() : part->reason;
}

/// Whether a part plays that has not lost the zone.
bool Announcement::Course::playsIn(const std::string& zone) {
    return std::any_of(parts.begin(), parts.end(), [&](const auto& entry) {
        const auto& lost = taken[partName(entry.second.record)];
        return entry.second.state == State::Playing &&
               std::none_of(lost.begin(), lost.end(),
                            [&](const std::string& outer) { return isWithin(zone, outer); });
    });
}

bool Announcement::Course::isOver() const {
    const bool areOver = std::all_of(parts.begin(), parts.end(),
                                     [](const auto& entry) { return entry.second.isOver; });
    const bool areAll = isComplete || parts.size() >= expectedParts;
    return whole != State::Sending || (!parts.empty() && areOver && areAll);
}

}  // namespace paclient
