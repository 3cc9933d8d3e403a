#include "client/Announcement.h"

#include <algorithm>
#include <condition_variable>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <utility>

#include "client/checkMessage.h"
#include "client/confirmed.h"
#include "framework/uuid.h"
#include "sdk/PAController.h"

namespace paclient {

namespace {

using State = Announcement::State;
using Part = Announcement::Part;
using palink::ConnectionChange;

constexpr const char* stateNames[] = {"sending",   "accepted",   "queued",  "playing", "finished",
                                      "cancelled", "pre-empted", "unknown", "failed",  "refused"};

/// States of a record that is not over, by their text.
constexpr std::pair<const char*, State> stateTexts[] = {{"Queued", State::Queued},
                                                        {"Playing", State::Playing}};

/// States of a record that is over, by its completion code.
constexpr std::pair<const char*, State> completionCodes[] = {
    {"0", State::Finished}, {"1", State::Cancelled}, {"2", State::PreEmpted}, {"3", State::Failed}};

template <std::size_t size>
State lookUp(const std::pair<const char*, State> (&table)[size], const std::string& text,
             State other) {
    const auto* const found = std::find_if(std::begin(table), std::end(table),
                                           [&](const auto& row) { return text == row.first; });
    return found == std::end(table) ? other : found->second;
}

bool isEnd(State state) {
    return state >= State::Finished;
}

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
    const bool isAudible = message.getAudioMessageType() != Message::NONE;
    const bool isVisual =
        message.getVisualMessageType() != Message::NONE && message.getVisualMessageValidity() != 0;
    return (isAudible ? 1U : 0U) + (isVisual ? 1U : 0U);
}

bool isVisual(const AnnouncementRequest& record) {
    return record.getVisualMessageType() == Message::DISPLAY_TEMPLATE;
}

void requireUnused(const std::string& requestId) {
    for (const AnnouncementRequest& active : gPaController.getAnnouncementRequests()) {
        if (active.getRequestID() == requestId) {
            throw std::invalid_argument("a request " + requestId + " is active already");
        }
    }
}

const std::vector<pa::OperationType> playOperations = {pa::operations::playMessage};
const std::vector<pa::OperationType> cancelOperations = {pa::operations::cancelMessage};

}  // namespace

/// What is known of the request. Its listener changes it; the lock is a leaf.
struct Announcement::Course {
    using Taken = std::map<std::string, std::set<std::string>>;  // by the name of the part

    Course(const Message& message, Callback function)
        : id(usableId(message.getRequestID())),
          expectedParts(partsOf(message)),
          priority(message.getPriority()),
          callback(std::move(function)) {}

    const std::string id;
    const std::size_t expectedParts;
    const MessagePriority priority;
    const Callback callback;

    std::mutex lock;
    std::condition_variable changed;
    // Guarded by lock.
    std::map<int, Part> parts;     // by record number
    std::set<int> reportedAgain;   // parts, since the connection was lost
    Taken taken;                   // zones that others have taken since the part began
    State whole = State::Sending;  // Failed, Refused or Unknown of the request as a whole
    std::string wholeReason;
    std::string refusedCancel;  // why a cancellation was refused
    bool isAway = false;        // the connection
    bool isComplete = false;    // no other parts are expected: the connection was lost

    void take(const Change& change);
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
    void take(const ConnectionChange& change);
    template <class Other>
    void take(const Other& /*other*/) {}

    void noteOther(const AnnouncementRequest& record);
    void endWhole(State state, const std::string& reason);
    const Part* decisivePart() const;

    std::vector<Notice> notices;  // of the change at hand
};

void Announcement::Course::take(const Change& change) {
    std::vector<Notice> due;
    {
        const std::lock_guard guard(lock);
        const State before = state();
        std::visit([this](const auto& what) { take(what); }, change);
        if (notices.empty() && state() != before) {
            notices.push_back({state(), std::nullopt});
        }
        due.swap(notices);
    }
    changed.notify_all();
    for (const Notice& notice : due) {
        if (callback) {
            callback(notice.state, notice.part ? &*notice.part : nullptr);
        }
    }
}

void Announcement::Course::take(const Updated<AnnouncementRequest>& update) {
    const AnnouncementRequest& record = update.record;
    if (record.getRequestID() != id) {
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

/// An announcement begins when it has all of its zones, a live one when it has any: that takes only
/// those which its priority gives it.
void Announcement::Course::noteOther(const AnnouncementRequest& record) {
    const bool isLive = record.getAudioMessageType() == Message::LIVE_STREAM;
    if (stateOf(record) == State::Playing && (!isLive || isHigher(record, priority))) {
        taken[partName(record)].insert(record.zones.begin(), record.zones.end());
    }
}

/// Deletions while the connection is away are those of the caches, not of the server.
void Announcement::Course::take(const Deleted<AnnouncementRequest>& deletion) {
    const AnnouncementRequest& record = deletion.record;
    if (record.getRequestID() != id || isAway) {
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

// ------------------------------------------------------------------------------------ the handle

Announcement::Announcement(std::vector<std::string> zoneIds, Message message, Callback callback)
    : zones_(std::move(zoneIds)),
      course_(std::make_shared<Course>(message, std::move(callback))),
      listener_(kinds<Updated<AnnouncementRequest>, Deleted<AnnouncementRequest>, palink::Refusal,
                      pa::DroppedOperation, ConnectionChange>(),
                [course = course_](const ChangePtr& change) { course->take(*change); }) {
    requireUnused(course_->id);
    message.setRequestID(course_->id);
    gPaController.playMessage(zones_, message);
}

Announcement::~Announcement() = default;

const std::string& Announcement::requestId() const {
    return course_->id;
}

std::size_t Announcement::partCount() const {
    return course_->expectedParts;
}

State Announcement::state() const {
    const std::lock_guard guard(course_->lock);
    return course_->state();
}

std::string Announcement::reason() const {
    const std::lock_guard guard(course_->lock);
    return course_->reason();
}

std::vector<Part> Announcement::parts() const {
    const std::lock_guard guard(course_->lock);
    std::vector<Part> result;
    for (const auto& entry : course_->parts) {
        result.push_back(entry.second);
    }
    return result;
}

bool Announcement::isOver() const {
    const std::lock_guard guard(course_->lock);
    return course_->isOver();
}

std::vector<Announcement::ZoneState> Announcement::zones() const {
    std::set<std::string> active;
    for (const PaZone& zone : gPaController.getPaZones()) {
        if (zone.activity != 0) {
            active.insert(zone.id);
        }
    }
    const std::lock_guard guard(course_->lock);
    std::vector<ZoneState> states;
    for (const std::string& zone : zones_) {
        const bool mayPlay = !course_->isAway && active.count(zone) > 0;
        states.push_back({zone, mayPlay && course_->playsIn(zone)});
    }
    return states;
}

template <class Condition>
State Announcement::waitUntil(Condition reached, const Wait& wait) {
    WaitCourse course(wait);
    while (true) {
        const auto slice = course.next();
        std::unique_lock guard(course_->lock);
        if (course_->isOver() || reached(*course_) || !slice) {
            return course_->state();
        }
        course_->changed.wait_for(guard, *slice);
    }
}

State Announcement::waitUntilAccepted(const Wait& wait) {
    return waitUntil([](const Course& course) { return !course.parts.empty(); }, wait);
}

State Announcement::wait(const Wait& wait) {
    return waitUntil([](const Course&) { return false; }, wait);
}

Confirmation Announcement::cancel(const Wait& wait) {
    using Result = Confirmation::State;
    {
        const std::lock_guard guard(course_->lock);
        if (course_->isOver()) {
            return {Result::AsBefore};
        }
        course_->refusedCancel.clear();
    }
    gPaController.cancelMessage(course_->id);
    const State state =
        waitUntil([](const Course& course) { return !course.refusedCancel.empty(); }, wait);
    const std::lock_guard guard(course_->lock);
    if (state == State::Cancelled) {
        return {Result::Done};
    }
    if (state == State::Unknown) {
        return {Result::ConnectionLost, course_->reason()};
    }
    if (course_->isOver()) {
        return {Result::Refused, std::string(nameOf(state)) + " before it could be cancelled"};
    }
    return course_->refusedCancel.empty() ? Confirmation{Result::TimedOut}
                                          : Confirmation{Result::Refused, course_->refusedCancel};
}

const char* nameOf(State state) {
    return stateNames[static_cast<std::size_t>(state)];
}

State stateOf(const AnnouncementRequest& record) {
    return record.completionCode.empty()
               ? lookUp(stateTexts, record.stateText, State::Accepted)
               : lookUp(completionCodes, record.completionCode, State::Failed);
}

const char* partName(const AnnouncementRequest& record) {
    return isVisual(record) ? "visual" : "audio";
}

// --------------------------------------------------------------------------------- cancellations

namespace {

/// Has the server cancel, and waits until each of `active` is withdrawn.
Cancellation cancelAll(const std::map<int, AnnouncementRequest>& active,
                       const std::string& requestId, const std::function<void()>& send,
                       const Wait& wait) {
    std::map<int, AnnouncementRequest> ended;
    ConfirmedRequest request;
    request.operations = cancelOperations;
    request.requestId = requestId;
    request.send = send;
    request.take = [&](const Change& change) {
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
