// SPDX-License-Identifier: Apache-2.0
#include "paserver/Publications.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "framework/clock.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/topics.h"

namespace paserver {

void Publications::beginGeneration(std::int64_t generation) {
    const std::lock_guard guard(lock_);
    generation_ = generation;
    held_.clear();
    summaries_.clear();
    unacknowledged_.clear();
    queue_.clear();
    bytes_ = 0;
    restoring_.clear();
    awaited_.clear();
    connected_ = false;
}

// --------------------------------------------------------------------------------------- records

void Publications::put(const RecordKey& key, std::string payload) {
    const std::uint64_t checksum = palink::recordChecksum(key.first, key.second, payload);
    const auto shared = std::make_shared<const std::string>(std::move(payload));
    const std::lock_guard guard(lock_);
    const auto [place, isNew] = held_.try_emplace(key);
    Held& held = place->second;
    if (!isNew) {
        subtract(key, held.checksum);
    }
    held.payload = shared;
    held.checksum = checksum;
    palink::KindSummary& summary = summaries_[key.first];
    ++summary.count;
    summary.checksum += checksum;
    unacknowledged_.erase(key);
    pushChange(key, shared);
    changed();
}

void Publications::withdraw(const RecordKey& key) {
    const std::lock_guard guard(lock_);
    const auto found = held_.find(key);
    if (found == held_.end()) {
        return;
    }
    subtract(key, found->second.checksum);
    if (connected_ || found->second.published) {
        noteWithdrawal(key);
    }
    held_.erase(found);
    pushChange(key, nullptr);
    changed();
}

void Publications::withdrawAll() {
    std::vector<RecordKey> keys;
    {
        const std::lock_guard guard(lock_);
        std::transform(held_.begin(), held_.end(), std::back_inserter(keys),
                       [](const auto& entry) { return entry.first; });
    }
    std::for_each(keys.begin(), keys.end(), [this](const RecordKey& key) { withdraw(key); });
}

/// With lock_ held.
void Publications::subtract(const RecordKey& key, std::uint64_t checksum) {
    const auto summary = summaries_.find(key.first);
    summary->second.checksum -= checksum;
    if (--summary->second.count == 0) {
        summaries_.erase(summary);
    }
}

void Publications::restore(const RecordKey& key, std::string_view payload,
                           const std::optional<std::string>& generation, bool retained) {
    const std::lock_guard guard(lock_);
    if (!connected_ || restoring_.count(key) != 0) {
        return;
    }
    const auto found = held_.find(key);
    if (found == held_.end()) {
        if (payload.empty()) {
            return;
        }
        noteWithdrawal(key);
        restoring_.insert(key);
        pushChange(key, nullptr);
    } else if (!retained &&
               (payload != *found->second.payload || generation != std::to_string(generation_))) {
        restoring_.insert(key);
        pushChange(key, found->second.payload);
    }
}

// ----------------------------------------------------------------------------------------- queue

void Publications::add(palink::MqttMessage message) {
    constexpr std::size_t perMessage = 512;
    const std::size_t bytes = perMessage + message.payload.size();
    const std::lock_guard guard(lock_);
    if (bytes_ < maxBytes / 2) {
        push({std::move(message), bytes});
    } else {
        ++dropped_;
    }
}

/// With lock_ held.
void Publications::pushChange(const RecordKey& key, const Payload& payload) {
    push({Change{key, payload}, sizeof(Waiting) + (payload ? payload->size() : 0)});
}

/// With lock_ held.
void Publications::push(Waiting waiting) {
    if (!connected_) {
        return;
    }
    bytes_ += waiting.bytes;
    queue_.push_back(std::move(waiting));
    if (bytes_ > maxBytes) {
        ++overflows_;
        publishEverything();
    }
    wake_.wake();
}

/// With lock_ held: what is held, and the withdrawals, in place of all that waits.
void Publications::publishEverything() {
    queue_.clear();
    restoring_.clear();
    bytes_ = 0;
    for (const auto& [key, number] : unacknowledged_) {
        queue_.push_back({Change{key, nullptr}, 0});
    }
    for (const auto& [key, held] : held_) {
        queue_.push_back({Change{key, held.payload}, 0});
    }
    changed();
}

void Publications::connected() {
    const std::lock_guard guard(lock_);
    connected_ = true;
    publishEverything();
}

void Publications::disconnected() {
    const std::lock_guard guard(lock_);
    connected_ = false;
    queue_.clear();
    restoring_.clear();
    bytes_ = 0;
    awaited_.clear();
}

std::optional<palink::MqttMessage> Publications::next() {
    const std::lock_guard guard(lock_);
    taken_.reset();
    if (queue_.empty()) {
        return std::nullopt;
    }
    const Waiting waiting = std::move(queue_.front());
    queue_.pop_front();
    bytes_ -= waiting.bytes;
    if (const auto* const change = std::get_if<Change>(&waiting.what)) {
        return messageOf(*change);
    }
    return std::get<palink::MqttMessage>(waiting.what);
}

/// With lock_ held.
palink::MqttMessage Publications::messageOf(const Change& change) {
    restoring_.erase(change.key);
    if (!change.payload) {
        if (const auto withdrawal = unacknowledged_.find(change.key);
            withdrawal != unacknowledged_.end()) {
            taken_ = *withdrawal;
        }
    } else if (const auto held = held_.find(change.key); held != held_.end()) {
        held->second.published = true;
    }
    palink::MqttMessage message;
    message.topic = palink::topics::record(dstNo_, change.key.first, change.key.second);
    message.payload = change.payload ? *change.payload : std::string();
    message.retained = true;
    message.userProperties = {{"generation", std::to_string(generation_)}};
    return message;
}

void Publications::published(int id) {
    const std::lock_guard guard(lock_);
    if (taken_) {
        awaited_[id] = *taken_;
    }
}

void Publications::acknowledged(int id) {
    const std::lock_guard guard(lock_);
    if (const auto found = awaited_.find(id); found != awaited_.end()) {
        const auto& [key, number] = found->second;
        if (const auto withdrawal = unacknowledged_.find(key);
            withdrawal != unacknowledged_.end() && withdrawal->second == number) {
            unacknowledged_.erase(withdrawal);
        }
        awaited_.erase(found);
    }
}

std::uint64_t Publications::takeOverflows() {
    const std::lock_guard guard(lock_);
    return overflows_ - std::exchange(takenOverflows_, overflows_);
}

PublicationState Publications::state() const {
    const std::lock_guard guard(lock_);
    return {summaries_, queue_.size(), dropped_, overflows_};
}

// ---------------------------------------------------------------------------------------- status

/// With lock_ held.
void Publications::changed() {
    changedMS_ = changedMS_.value_or(pa::monotonicMS());
    wake_.wake();
}

void Publications::requestStatus() {
    const std::lock_guard guard(lock_);
    changedMS_ = 0;
    wake_.wake();
}

std::optional<std::int64_t> Publications::statusDueMS() const {
    const std::lock_guard guard(lock_);
    if (!connected_) {
        return std::nullopt;
    }
    if (!changedMS_) {
        return statusMS_ + statusRefreshMS;
    }
    const std::int64_t earliest = statusMS_ + statusPeriodMS;
    return queue_.empty() ? earliest : std::max(earliest, *changedMS_ + statusPeriodMS);
}

KindSummaries Publications::takeStatus(std::int64_t nowMS) {
    const std::lock_guard guard(lock_);
    changedMS_.reset();
    statusMS_ = nowMS;
    return summaries_;
}

}  // namespace paserver
