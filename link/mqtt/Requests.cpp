// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/Requests.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "framework/clock.h"
#include "framework/uuid.h"
#include "link/waitAtMost.h"

namespace palink {

namespace {

constexpr std::size_t maxUnacknowledged = 200;
constexpr std::int64_t msPerSecond = 1000;

// Reason codes of MQTT 5.
constexpr int noMatchingSubscribers = 0x10;
constexpr int firstFailure = 0x80;
constexpr int notAuthorized = 0x87;

std::string newPrefix() {
    std::string uuid;
    generateUUID(uuid);
    return uuid + '-';
}

RequestEnd::How howOf(int reasonCode) {
    switch (reasonCode) {
        case noMatchingSubscribers:
            return RequestEnd::How::NoServer;
        case notAuthorized:
            return RequestEnd::How::NotAllowed;
        default:
            return RequestEnd::How::Rejected;
    }
}

}  // namespace

const char* RequestEnd::text() const {
    switch (how) {
        case How::Answered:
            return "";
        case How::NoServer:
            return "no server is connected to the broker";
        case How::NotAllowed:
            return "the broker does not allow this client to ask for it";
        case How::Rejected:
            return "the broker does not take the message";
        case How::Unanswered:
            return "no answer within 10 s: the outcome is unknown";
        case How::Lost:
            break;
    }
    return "the connection is lost";
}

Requests::Requests(std::string answerTopic, Publish publish, std::function<void()> added)
    : answerTopic_(std::move(answerTopic)),
      prefix_(newPrefix()),
      publish_(std::move(publish)),
      added_(std::move(added)) {}

std::size_t Requests::bytesOf(const Pending& pending) {
    return pending.request.message.payload.size() + overhead;
}

bool Requests::add(Request request) {
    Ends ends;
    std::unique_lock guard(lock_);
    Pending pending{std::move(request), pa::monotonicMS() + limit.count() * msPerSecond};
    if (closed_ || bytes_ + bytesOf(pending) > maxBytes) {
        return false;
    }
    bytes_ += bytesOf(pending);
    pending_.push_back(std::move(pending));
    MqttMessage& message = pending_.back().request.message;
    message.qos = 1;
    message.responseTopic = answerTopic_;
    message.correlation = prefix_ + std::to_string(++count_);
    byCorrelation_.emplace(message.correlation, std::prev(pending_.end()));
    enqueue(pending_.back());
    pump(ends);
    guard.unlock();
    call(ends);
    added_();
    return true;
}

/// With lock_ held.
void Requests::enqueue(Pending& pending) {
    if (!pending.queued) {
        pending.queued = true;
        queue_.push_back(pending.request.message.correlation);
    }
}

/// Publishes what waits, as far as it may. With lock_ held.
void Requests::pump(Ends& ends) {
    while (connected_ && !queue_.empty() && byId_.size() < maxUnacknowledged) {
        const auto found = byCorrelation_.find(queue_.front());
        if (found == byCorrelation_.end()) {
            queue_.pop_front();
            continue;
        }
        const Place place = found->second;
        const std::int64_t leftMS = place->endMS - pa::monotonicMS();
        place->request.message.expirySeconds =
            static_cast<std::uint32_t>(std::max<std::int64_t>(1, leftMS / msPerSecond));
        try {
            place->id = publish_(place->request.message);
        } catch (const std::exception&) {
            queue_.pop_front();
            end(place, {RequestEnd::How::Rejected, {}}, ends);
            continue;
        }
        if (!place->id) {
            return;  // `disconnected` follows
        }
        byId_[*place->id] = place;
        place->queued = false;
        queue_.pop_front();
    }
}

/// With lock_ held.
void Requests::end(Place place, RequestEnd end, Ends& ends) {
    ends.emplace_back(std::move(place->request.done), std::move(end));
    if (place->id) {
        byId_.erase(*place->id);
    }
    byCorrelation_.erase(place->request.message.correlation);
    bytes_ -= bytesOf(*place);
    pending_.erase(place);
    ended_.notify_all();
}

void Requests::call(const Ends& ends) {
    for (const auto& [done, end] : ends) {
        done(end);
    }
}

void Requests::answered(const std::string& correlation, const Answer& answer) {
    Ends ends;
    {
        const std::lock_guard guard(lock_);
        const auto found = byCorrelation_.find(correlation);
        if (found != byCorrelation_.end()) {
            end(found->second, {RequestEnd::How::Answered, answer}, ends);
            pump(ends);
        }
    }
    call(ends);
}

void Requests::published(int id, int reasonCode) {
    Ends ends;
    {
        const std::lock_guard guard(lock_);
        const auto found = byId_.find(id);
        if (found == byId_.end()) {
            return;
        }
        const Place place = found->second;
        byId_.erase(found);
        place->id.reset();
        place->sentMS = pa::monotonicMS();
        const bool failed = reasonCode == noMatchingSubscribers || reasonCode >= firstFailure;
        if (failed && !place->mayHaveArrived) {
            end(place, {howOf(reasonCode), {}}, ends);
        } else {
            place->mayHaveArrived = true;
        }
        pump(ends);
    }
    call(ends);
}

void Requests::connected() {
    Ends ends;
    {
        const std::lock_guard guard(lock_);
        connected_ = true;
        queue_.clear();
        for (Pending& pending : pending_) {
            pending.queued = false;
            enqueue(pending);
        }
        pump(ends);
    }
    call(ends);
}

void Requests::disconnected() {
    Ends ends;
    {
        const std::lock_guard guard(lock_);
        connected_ = false;
        for (auto& [id, place] : byId_) {
            place->id.reset();
            place->mayHaveArrived = true;
        }
        byId_.clear();
        endThoseThatMayNotSurvive(ends);
        ended_.notify_all();
    }
    call(ends);
}

/// With lock_ held.
void Requests::endThoseThatMayNotSurvive(Ends& ends) {
    for (auto place = pending_.begin(); place != pending_.end();) {
        const auto next = std::next(place);
        if (!place->request.survivesLoss) {
            end(place, {RequestEnd::How::Lost, {}}, ends);
        }
        place = next;
    }
}

void Requests::lose() {
    Ends ends;
    {
        const std::lock_guard guard(lock_);
        endThoseThatMayNotSurvive(ends);
    }
    call(ends);
}

void Requests::waitForAnswers(std::chrono::milliseconds longest) {
    std::unique_lock guard(lock_);
    waitAtMost(ended_, guard, longest, [this] {
        return !connected_ || std::none_of(pending_.begin(), pending_.end(), [](const auto& each) {
            return each.request.survivesLoss;
        });
    });
}

std::size_t Requests::close() {
    Ends ends;
    std::size_t survivors = 0;
    {
        const std::lock_guard guard(lock_);
        closed_ = true;
        connected_ = false;
        endThoseThatMayNotSurvive(ends);
        survivors = pending_.size();
        while (!pending_.empty()) {
            end(pending_.begin(), {RequestEnd::How::Lost, {}}, ends);
        }
        queue_.clear();
    }
    call(ends);
    return survivors;
}

void Requests::open() {
    const std::lock_guard guard(lock_);
    closed_ = false;
}

void Requests::runDue() {
    Ends ends;
    {
        const std::lock_guard guard(lock_);
        const std::int64_t now = pa::monotonicMS();
        while (!pending_.empty() && pending_.front().endMS <= now) {
            end(pending_.begin(), {RequestEnd::How::Unanswered, {}}, ends);
        }
        for (Pending& pending : pending_) {
            const bool isAcknowledged = !pending.queued && !pending.id;
            const std::int64_t againMS = pending.sentMS + repetition.count() * msPerSecond;
            if (connected_ && isAcknowledged && againMS <= now &&
                now + msPerSecond <= pending.endMS) {
                enqueue(pending);
            }
        }
        pump(ends);
    }
    call(ends);
}

std::optional<std::int64_t> Requests::nextDue() const {
    const std::lock_guard guard(lock_);
    std::optional<std::int64_t> next;
    for (const Pending& pending : pending_) {
        const std::int64_t againMS = pending.sentMS + repetition.count() * msPerSecond;
        const bool isAcknowledged = connected_ && !pending.queued && !pending.id;
        const bool isSentAgain = isAcknowledged && againMS + msPerSecond <= pending.endMS;
        const std::int64_t dueMS = isSentAgain ? againMS : pending.endMS;
        next = std::min(next.value_or(dueMS), dueMS);
    }
    return next;
}

std::size_t Requests::size() const {
    const std::lock_guard guard(lock_);
    return pending_.size();
}

}  // namespace palink
