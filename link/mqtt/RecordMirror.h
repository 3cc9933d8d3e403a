// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

#include "../../sdk/recordKinds.h"
#include "serverStatus.h"

namespace palink {

/// What a client has received of the records of one kind, and what it should have. Not for use by
/// two threads at a time.
class KindMirror {
public:
    /// A record has arrived.
    /// @return whether it is another than the one that was there
    bool put(int key, std::uint64_t checksum);

    /// A withdrawal has arrived.
    /// @return whether there was such a record
    bool remove(int key);

    /// What the server holds, by its last status.
    void expect(const KindSummary& summary) { expected_ = summary; }

    /// From now on every record arrives again.
    void beginFetch();

    /// Takes away what the server does not hold: when what has arrived since the last fetch began
    /// agrees with the status, what did not arrive.
    /// @return the keys
    std::vector<int> takeLeftovers();

    [[nodiscard]] bool agrees() const { return held_ == expected_; }
    [[nodiscard]] const KindSummary& held() const { return held_; }
    [[nodiscard]] const KindSummary& expected() const { return expected_; }

private:
    struct Entry {
        std::uint64_t checksum = 0;
        unsigned fetch = 0;  // the last in which it arrived
    };

    void forget(const Entry& entry);

    std::unordered_map<int, Entry> entries_;  // by key
    unsigned fetch_ = 0;
    KindSummary held_;     // of all entries
    KindSummary fetched_;  // of those of the present fetch
    KindSummary expected_;
};

/// What a client has received of the records of one server, of some of the kinds. Not for use by
/// two threads at a time.
class RecordMirror {
public:
    explicit RecordMirror(const std::vector<pa::RecordKind>& kinds);

    /// @return null for another kind than those of the mirror
    KindMirror* find(pa::RecordKind kind);

    void expect(const std::map<pa::RecordKind, KindSummary>& kinds);

    /// The kinds whose records do not agree with the status.
    [[nodiscard]] std::vector<pa::RecordKind> differing() const;
    [[nodiscard]] bool agrees() const;

private:
    std::map<pa::RecordKind, KindMirror> kinds_;
};

}  // namespace palink
