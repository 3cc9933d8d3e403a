// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>

/// @file
/// The kinds of records that a server reports; docs/link-protocol.md has the fields of each.
/// Constants, for any thread.

namespace pa {

/// The number of a kind, as in withdrawals.
enum class RecordKind : int {
    Any = 0,  ///< in a withdrawal: every kind but the two of text-to-speech
    Source = 2,
    Sink = 3,
    Trigger = 4,
    Selector = 5,
    AttachedZones = 6,
    Announcement = 11,
    Schedule = 18,
    Zone = 20,
    // Their numbers concern client and server only.
    TtsPort = 101,
    TtsDictionary = 102,
};

/// How records of a kind are withdrawn.
enum class KindWithdrawal {
    ByNumber,       ///< by `PAController::deleteAudioVideoControllerInfo` with the kind's number
    ByOwnFunction,  ///< by a function for this kind
};

/// What holds for a kind of records.
struct RecordKindRow {
    RecordKind kind;            ///< its number
    const char* name;           ///< in messages
    KindWithdrawal withdrawal;  ///< how its records are withdrawn
};

/// Every kind of record, in the order in which a withdrawal of every kind visits them.
inline constexpr RecordKindRow recordKinds[] = {
    {RecordKind::Source, "source", KindWithdrawal::ByNumber},
    {RecordKind::Sink, "sink", KindWithdrawal::ByNumber},
    {RecordKind::Trigger, "trigger", KindWithdrawal::ByNumber},
    {RecordKind::Selector, "selector", KindWithdrawal::ByNumber},
    {RecordKind::AttachedZones, "attached zones", KindWithdrawal::ByNumber},
    {RecordKind::Announcement, "announcement", KindWithdrawal::ByNumber},
    {RecordKind::Zone, "zone", KindWithdrawal::ByNumber},
    {RecordKind::Schedule, "schedule", KindWithdrawal::ByNumber},
    {RecordKind::TtsPort, "text-to-speech port", KindWithdrawal::ByOwnFunction},
    {RecordKind::TtsDictionary, "text-to-speech item", KindWithdrawal::ByOwnFunction},
};

/// Whether no kind has two rows.
constexpr bool isEachKindThereOnce() {
    for (std::size_t i = 0; i < std::size(recordKinds); ++i) {
        for (std::size_t other = 0; other < i; ++other) {
            if (recordKinds[other].kind == recordKinds[i].kind) {
                return false;
            }
        }
    }
    return true;
}
static_assert(isEachKindThereOnce());

/// @return the name in messages; a number that is none of the above is an "unknown kind"
constexpr const char* nameOf(RecordKind kind) {
    for (const RecordKindRow& row : recordKinds) {
        if (row.kind == kind) {
            return row.name;
        }
    }
    return kind == RecordKind::Any ? "any kind" : "unknown kind";
}

}  // namespace pa
