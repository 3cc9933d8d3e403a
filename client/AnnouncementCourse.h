// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/Announcement.h"

namespace paclient {

/// What is known of the request. Its listener changes it; the lock is a leaf.
struct Announcement::Course {
    using Taken = std::map<std::string, std::set<std::string>>;  // by the name of the part

    Course(const Message& message, Callback function);

    const std::string id;
    const std::size_t expectedParts;
    const MessagePriority priority;
    const Callback callback;

    std::mutex lock;
    std::condition_variable changed;
    // Guarded by lock.
    std::map<int, Part> parts;     // by record number
    std::set<int> reportedAgain;   // parts, since the connection was lost
    std::set<int> playingOthers;   // record numbers of other requests that play
    Taken taken;                   // zones that others have taken since the part began
    State whole = State::Sending;  // Failed, Refused or Unknown of the request as a whole
    std::string wholeReason;
    std::optional<std::string> refusedCancel;  // why a cancellation was refused
    bool isAway = false;                       // the connection
    bool isComplete = false;  // no other parts are expected: the connection was lost

    void take(const Change& change);
    void notePlaying(const std::vector<AnnouncementRequest>& records);
    State state() const;
    std::string reason() const;
    bool playsIn(const std::string& zone);
    bool isOver() const;

private:
    /// What the callback is called with.
    struct Notice {
        State state;
        std::optional<Part> part;
    };

    void take(const Updated<AnnouncementRequest>& update);
    void take(const Deleted<AnnouncementRequest>& deletion);
    void take(const palink::Refusal& refusal);
    void take(const pa::DroppedOperation& dropped);
    void take(const palink::ConnectionChange& change);
    template <class Other>
    void take(const Other& /*other*/) {}

    void notify(const std::vector<Notice>& due);
    void noteOther(const AnnouncementRequest& record);
    bool isOther(const AnnouncementRequest& record) const { return record.getRequestID() != id; }
    void endWhole(State state, const std::string& reason);
    const Part* decisivePart() const;

    std::vector<Notice> notices;  // of the change at hand
};

}  // namespace paclient
