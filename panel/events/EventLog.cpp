// SPDX-License-Identifier: Apache-2.0
#include "panel/events/EventLog.h"

#include <charconv>

#include "framework/uuid.h"

namespace papanel {

namespace {

constexpr std::chrono::milliseconds snapshotLife{500};

/// A word that no other log has.
std::string newEpoch() {
    constexpr std::size_t letters = 8;
    std::string uuid;
    generateUUID(uuid);
    return uuid.substr(0, letters);
}

}  // namespace

EventLog::EventLog(std::function<Json()> snapshot, std::size_t maxBytes)
    : makeSnapshot_(std::move(snapshot)), maxBytes_(maxBytes), epoch_(newEpoch()) {}

void EventLog::add(const std::string& name, const Json& data) {
    const std::lock_guard guard(lock_);
    append(textOf(idOf(last_ + 1), name, data));
}

void EventLog::addReset() {
    const std::lock_guard guard(lock_);
    append(nullptr);
    reset_ = last_;
}

void EventLog::endSession(const std::string& sessionId, const std::string& reason) {
    const Text text = textOf("", "session", {{"ends", reason}});
    const std::lock_guard guard(lock_);
    for (Page* const page : pages_) {
        if (page->sessionId_ == sessionId) {
            page->lastEvent_ = text;
        }
    }
    changed_.notify_all();
}

void EventLog::stop() {
    const std::lock_guard guard(lock_);
    isStopped_ = true;
    changed_.notify_all();
}

std::size_t EventLog::pages() const {
    const std::lock_guard guard(lock_);
    return pages_.size();
}

std::uint64_t EventLog::dropped() const {
    const std::lock_guard guard(lock_);
    return dropped_;
}

std::string EventLog::idOf(std::uint64_t number) const {
    return epoch_ + '-' + std::to_string(number);
}

/// @param id empty for none
EventLog::Text EventLog::textOf(const std::string& id, const std::string& name,
                                const Json& data) const {
    return std::make_shared<const std::string>(
        (id.empty() ? "" : "id: " + id + '\n') + "event: " + name +
        "\ndata: " + data.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n\n");
}

/// @return 0 when the id is none of this log
std::uint64_t EventLog::numberIn(const std::string& id) const {
    const std::string prefix = epoch_ + '-';
    if (id.compare(0, prefix.size(), prefix) != 0) {
        return 0;
    }
    std::uint64_t number = 0;
    const char* const end = id.data() + id.size();
    const auto [stop, error] = std::from_chars(id.data() + prefix.size(), end, number);
    return error == std::errc() && stop == end ? number : 0;
}

/// With the lock held.
void EventLog::append(Text text) {
    bytes_ += text != nullptr ? text->size() : 0;
    events_.push_back(std::move(text));
    ++last_;
    while (bytes_ > maxBytes_ && events_.size() > 1) {
        bytes_ -= events_.front() != nullptr ? events_.front()->size() : 0;
        events_.pop_front();
    }
    changed_.notify_all();
}

/// A snapshot that has everything up to the event, and not much less than there is now: pages that
/// come at the same time share one.
EventLog::Snapshot EventLog::snapshotSince(std::uint64_t number) {
    const std::lock_guard snapshotGuard(snapshotLock_);
    const auto now = std::chrono::steady_clock::now();
    const bool isFresh = snapshot_.text != nullptr && snapshot_.number >= number &&
                         now < snapshot_.made + snapshotLife;
    if (!isFresh) {
        Snapshot made;
        {
            const std::lock_guard guard(lock_);
            made.number = last_;
        }
        made.made = now;
        made.text = textOf(idOf(made.number), "snapshot", makeSnapshot_());
        snapshot_ = std::move(made);
    }
    return snapshot_;
}

EventLog::Page::Page(EventLog& log, const std::string& lastId, std::string sessionId)
    : log_(log), sessionId_(std::move(sessionId)) {
    const std::lock_guard guard(log_.lock_);
    read_ = log_.numberIn(lastId);
    const std::uint64_t firstKept = log_.last_ + 1 - log_.events_.size();
    needsSnapshot_ = read_ == 0 || read_ > log_.last_ || read_ + 1 < firstKept;
    log_.pages_.insert(this);
}

EventLog::Page::~Page() {
    const std::lock_guard guard(log_.lock_);
    log_.pages_.erase(this);
}

EventLog::Text EventLog::Page::next(std::chrono::milliseconds limit) {
    std::uint64_t least = 0;
    {
        std::unique_lock guard(log_.lock_);
        log_.changed_.wait_for(guard, limit, [this] {
            return log_.isStopped_ || lastEvent_ != nullptr || needsSnapshot_ || read_ < log_.last_;
        });
        const std::uint64_t firstKept = log_.last_ + 1 - log_.events_.size();
        if (log_.isStopped_ || lastEvent_ != nullptr) {
            isOver_ = true;
            return lastEvent_;
        }
        if (!needsSnapshot_ && read_ == log_.last_) {
            return nullptr;
        }
        if (!needsSnapshot_ && read_ + 1 < firstKept) {
            ++log_.dropped_;
            isOver_ = true;
            return nullptr;
        }
        if (!needsSnapshot_ && log_.reset_ <= read_) {
            ++read_;
            return log_.events_[read_ - firstKept];
        }
        least = log_.reset_;
    }
    const Snapshot snapshot = log_.snapshotSince(least);
    read_ = snapshot.number;
    needsSnapshot_ = false;
    return snapshot.text;
}

}  // namespace papanel
