// SPDX-License-Identifier: Apache-2.0
#include "client/Announcement.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <stdexcept>
#include <utility>

#include "client/AnnouncementCourse.h"
#include "link/waitAtMost.h"
#include "sdk/PAController.h"

namespace paclient {

namespace {

using State = Announcement::State;
using Part = Announcement::Part;

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

bool isVisual(const AnnouncementRequest& record) {
    return record.getVisualMessageType() == Message::DISPLAY_TEMPLATE;
}

void requireUnused(const std::string& requestId, const std::vector<AnnouncementRequest>& records) {
    for (const AnnouncementRequest& active : records) {
        if (active.getRequestID() == requestId) {
            throw std::invalid_argument("a request " + requestId + " is active already");
        }
    }
}

}  // namespace

Announcement::Announcement(std::vector<std::string> zoneIds, Message message, Callback callback)
    : zones_(std::move(zoneIds)),
      course_(std::make_shared<Course>(message, std::move(callback))),
      listener_(kinds<Updated<AnnouncementRequest>, Deleted<AnnouncementRequest>, palink::Refusal,
                      pa::DroppedOperation, palink::ConnectionChange>(),
                [course = course_](const ChangePtr& change) { course->take(*change); }) {
    const auto active = gPaController.getAnnouncementRequests();
    requireUnused(course_->id, active);
    course_->notePlaying(active);
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
    const auto ends = [&] { return course_->isOver() || reached(*course_); };
    WaitCourse course(wait);
    std::unique_lock guard(course_->lock);
    while (!ends()) {
        guard.unlock();
        const auto slice = course.next();
        guard.lock();
        if (!slice) {
            break;
        }
        palink::waitAtMost(course_->changed, guard, *slice, ends);
    }
    return course_->state();
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
        course_->refusedCancel.reset();
    }
    gPaController.cancelMessage(course_->id);
    const State state =
        waitUntil([](const Course& course) { return course.refusedCancel.has_value(); }, wait);
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
    return course_->refusedCancel ? Confirmation{Result::Refused, *course_->refusedCancel}
                                  : Confirmation{Result::TimedOut};
}

bool isEnd(State state) {
    return state >= State::Finished;
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

}  // namespace paclient
