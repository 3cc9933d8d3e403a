#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "console/following/Changes.h"

namespace console {

/// What has become of an announcement, or of one part of it; the later the worse.
enum class Outcome {
    Open,
    Finished,
    Cancelled,
    PreEmpted,
    Failed,
    Withdrawn,
    NotUploaded,
    Refused
};

/// For example "pre-empted".
const char* nameOf(Outcome outcome);

/// What the record says of the part's end.
Outcome outcomeOf(const AnnouncementRequest& record);

/// "audio" or "visual".
const char* partName(const AnnouncementRequest& record);

/// Follows one request through the changes, part by part, from the moment before it is played.
class RequestFollower {
public:
    /// @param parts how many records the server will report
    RequestFollower(std::string requestId, std::size_t parts);

    /// Takes a change.
    /// @return the record, when it tells something new of this request
    std::optional<AnnouncementRequest> take(const Change& change);

    bool isAccepted() const { return !parts_.empty(); }

    /// Whether the server has withdrawn every part, or there will be none.
    bool isOver() const;
    const std::string& requestId() const { return requestId_; }

    /// The worst of its parts; `Open` while nothing has gone wrong and it is not over.
    Outcome outcome() const;

    /// The outcome with its reason, for example "refused: no such zone".
    std::string summary() const;

private:
    struct Part {
        std::string state;
        Outcome outcome = Outcome::Open;
        std::string message;
        bool isGone = false;
    };

    bool takeUpdate(const AnnouncementRequest& record);
    void takeDelete(const AnnouncementRequest& record);
    void takeRefusal(const palink::Refusal& refusal);
    Part worst() const;

    std::string requestId_;
    std::size_t expected_;
    std::map<int, Part> parts_;  // by record number
    Part whole_;                 // what befell the request itself
};

}  // namespace console
