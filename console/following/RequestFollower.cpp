#include "console/following/RequestFollower.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace console {

namespace {

constexpr const char* outcomeNames[] = {"open",   "finished",  "cancelled",    "pre-empted",
                                        "failed", "withdrawn", "not uploaded", "refused"};

/// Completion codes of the server.
constexpr std::pair<const char*, Outcome> completionCodes[] = {{"", Outcome::Open},
                                                               {"0", Outcome::Finished},
                                                               {"1", Outcome::Cancelled},
                                                               {"2", Outcome::PreEmpted},
                                                               {"3", Outcome::Failed}};

}  // namespace

const char* nameOf(Outcome outcome) {
    return outcomeNames[static_cast<std::size_t>(outcome)];
}

Outcome outcomeOf(const AnnouncementRequest& record) {
    const auto* const found =
        std::find_if(std::begin(completionCodes), std::end(completionCodes),
                     [&record](const auto& entry) { return record.completionCode == entry.first; });
    return found == std::end(completionCodes) ? Outcome::Failed : found->second;
}

const char* partName(const AnnouncementRequest& record) {
    return record.getVisualMessageType() == Message::DISPLAY_TEMPLATE ? "visual" : "audio";
}

RequestFollower::RequestFollower(std::string requestId, std::size_t parts)
    : requestId_(std::move(requestId)), expected_(parts) {}

std::optional<AnnouncementRequest> RequestFollower::take(const Change& change) {
    if (const auto* const refusal = std::get_if<palink::Refusal>(&change.what)) {
        takeRefusal(*refusal);
        return std::nullopt;
    }
    const auto* const record = std::get_if<AnnouncementRequest>(&change.what);
    if (record == nullptr || record->getRequestID() != requestId_) {
        return std::nullopt;
    }
    if (change.kind == Change::Kind::Delete) {
        takeDelete(*record);
        return std::nullopt;
    }
    return takeUpdate(*record) ? std::optional(*record) : std::nullopt;
}

bool RequestFollower::takeUpdate(const AnnouncementRequest& record) {
    Part& part = parts_[record.id];
    const Part before =
        std::exchange(part, {record.stateText, outcomeOf(record), record.completionMsg, false});
    return before.state != part.state || before.outcome != part.outcome;
}

void RequestFollower::takeDelete(const AnnouncementRequest& record) {
    const auto part = parts_.find(record.id);
    if (part != parts_.end()) {
        part->second.isGone = true;
        if (part->second.outcome == Outcome::Open) {
            part->second.outcome = Outcome::Withdrawn;
        }
    } else if (record.id == 0) {
        // No record of the server: the controller tells that the upload has failed.
        whole_.outcome = Outcome::NotUploaded;
    }
}

void RequestFollower::takeRefusal(const palink::Refusal& refusal) {
    // A request that the server could not read has no id in the refusal; it is the one that waits.
    const bool isOurs =
        refusal.operation == pa::operations::playMessage &&
        (refusal.requestId == requestId_ || (refusal.requestId.empty() && !isAccepted()));
    if (isOurs) {
        whole_.outcome = Outcome::Refused;
        whole_.message = refusal.reason;
    }
}

bool RequestFollower::isOver() const {
    const auto gone = std::count_if(parts_.begin(), parts_.end(),
                                    [](const auto& part) { return part.second.isGone; });
    return whole_.outcome != Outcome::Open ||
           (expected_ > 0 && static_cast<std::size_t>(gone) >= expected_);
}

RequestFollower::Part RequestFollower::worst() const {
    Part result = whole_;
    for (const auto& entry : parts_) {
        if (entry.second.outcome > result.outcome) {
            result = entry.second;
        }
    }
    return result;
}

Outcome RequestFollower::outcome() const {
    const Outcome outcome = worst().outcome;
    return outcome == Outcome::Finished && !isOver() ? Outcome::Open : outcome;
}

std::string RequestFollower::summary() const {
    const Part part = worst();
    return nameOf(outcome()) + (part.message.empty() ? "" : ": " + part.message);
}

}  // namespace console
