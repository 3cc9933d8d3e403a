#pragma once

/// @file
/// The kinds of records that a server reports.

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
    // Withdrawn by functions of their own, so that their numbers concern client and server only.
    TtsPort = 101,
    TtsDictionary = 102,
};

struct RecordKindRow {
    RecordKind kind;
    const char* name;  ///< in messages
};

/// Every kind of record.
inline constexpr RecordKindRow recordKinds[] = {
    {RecordKind::Source, "source"},
    {RecordKind::Sink, "sink"},
    {RecordKind::Trigger, "trigger"},
    {RecordKind::Selector, "selector"},
    {RecordKind::AttachedZones, "attached zones"},
    {RecordKind::Announcement, "announcement"},
    {RecordKind::Schedule, "schedule"},
    {RecordKind::Zone, "zone"},
    {RecordKind::TtsPort, "text-to-speech port"},
    {RecordKind::TtsDictionary, "text-to-speech item"},
};

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
