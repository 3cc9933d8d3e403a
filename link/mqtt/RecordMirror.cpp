// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/RecordMirror.h"

#include <algorithm>

namespace palink {

bool KindMirror::put(int key, std::uint64_t checksum) {
    const auto [found, isNew] = entries_.try_emplace(key, Entry{checksum, fetch_});
    Entry& entry = found->second;
    const bool isChanged = isNew || entry.checksum != checksum;
    if (!isNew) {
        forget(entry);
    }
    entry = {checksum, fetch_};
    for (KindSummary* const summary : {&held_, &fetched_}) {
        ++summary->count;
        summary->checksum += checksum;
    }
    return isChanged;
}

bool KindMirror::remove(int key) {
    const auto found = entries_.find(key);
    if (found == entries_.end()) {
        return false;
    }
    forget(found->second);
    entries_.erase(found);
    return true;
}

/// Takes an entry out of the summaries.
void KindMirror::forget(const Entry& entry) {
    --held_.count;
    held_.checksum -= entry.checksum;
    if (entry.fetch == fetch_) {
        --fetched_.count;
        fetched_.checksum -= entry.checksum;
    }
}

void KindMirror::beginFetch() {
    ++fetch_;
    fetched_ = {};
}

std::vector<int> KindMirror::takeLeftovers() {
    std::vector<int> keys;
    if (agrees() || fetched_ != expected_) {
        return keys;
    }
    for (const auto& [key, entry] : entries_) {
        if (entry.fetch != fetch_) {
            keys.push_back(key);
        }
    }
    for (const int key : keys) {
        remove(key);
    }
    return keys;
}

RecordMirror::RecordMirror(const std::vector<pa::RecordKind>& kinds) {
    for (const pa::RecordKind kind : kinds) {
        kinds_.try_emplace(kind);
    }
}

KindMirror* RecordMirror::find(pa::RecordKind kind) {
    const auto found = kinds_.find(kind);
    return found == kinds_.end() ? nullptr : &found->second;
}

void RecordMirror::expect(const std::map<pa::RecordKind, KindSummary>& kinds) {
    for (auto& [kind, mirror] : kinds_) {
        const auto found = kinds.find(kind);
        mirror.expect(found == kinds.end() ? KindSummary{} : found->second);
    }
}

std::vector<pa::RecordKind> RecordMirror::differing() const {
    std::vector<pa::RecordKind> kinds;
    for (const auto& [kind, mirror] : kinds_) {
        if (!mirror.agrees()) {
            kinds.push_back(kind);
        }
    }
    return kinds;
}

bool RecordMirror::agrees() const {
    return std::all_of(kinds_.begin(), kinds_.end(),
                       [](const auto& entry) { return entry.second.agrees(); });
}

}  // namespace palink
