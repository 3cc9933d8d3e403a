// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "../framework/api.h"
#include "find.h"
#include "recordText.h"

/// @file
/// The kinds of resource: the records of each in the caches of `gPaController`, and how one is
/// found. May be used from any thread; takes the controller's mutex.

namespace paclient {

/// A kind of resource.
template <class Record>
struct Resource {
    const char* one;                              ///< "source"
    const char* many;                             ///< "sources"
    std::vector<Record> (*all)();                 ///< every record of the kind
    std::string (*number)(const Record& record);  ///< null for a kind that has no numbers
    std::string (*name)(const Record& record);    ///< null for a kind that has no names
};

/// The records of each kind, in order of their keys.
PA_API std::vector<PaSource> allSources();
PA_API std::vector<PaSink> allSinks();                       ///< as above
PA_API std::vector<PaZone> allZones();                       ///< as above
PA_API std::vector<TTSVocalizer> allVoices();                ///< those at 48000 Hz
PA_API std::vector<AnnouncementRequest> allAnnouncements();  ///< what waits or plays
PA_API std::vector<AnyTrigger> allTriggers();      ///< the server's, then this client's own
PA_API std::vector<PaSelector> allSelectors();     ///< as above
PA_API std::vector<ScheduleEntry> allSchedules();  ///< in order of their numbers
PA_API std::vector<TTSDictionary> allTtsItems();   ///< what has been rendered
PA_API std::vector<SourceLock> allLocks();         ///< in order of the sources' numbers

/// A lock with its holder in words.
PA_API SourceLock withHolder(const PaSourceLockStatus& lock);

/// The lock of a source; one that the server has not reported has no holder.
PA_API SourceLock lockOf(int sourceId);

/// The sources.
inline constexpr Resource<PaSource> sources{
    "source", "sources", allSources, memberText<&PaSource::id>, memberText<&PaSource::label>};
/// The sinks.
inline constexpr Resource<PaSink> sinks{"sink", "sinks", allSinks, memberText<&PaSink::id>,
                                        memberText<&PaSink::label>};
/// The zones; they have names only.
inline constexpr Resource<PaZone> zones{"zone", "zones", allZones, nullptr,
                                        memberText<&PaZone::id>};
/// The voices that can be used, by port.
inline constexpr Resource<TTSVocalizer> voices{"voice", "voices", allVoices,
                                               memberText<&TTSVocalizer::portNo>,
                                               memberText<&TTSVocalizer::voice>};
/// The announcements, by record number and request id.
inline constexpr Resource<AnnouncementRequest> announcements{
    "announcement", "announcements", allAnnouncements, memberText<&AnnouncementRequest::id>,
    memberText<&AnnouncementRequest::getRequestID>};
/// The triggers of either kind.
inline constexpr Resource<AnyTrigger> triggers{"trigger", "triggers", allTriggers,
                                               memberText<&AnyTrigger::id>,
                                               memberText<&AnyTrigger::label>};
/// The selectors.
inline constexpr Resource<PaSelector> selectors{"selector", "selectors", allSelectors,
                                                memberText<&PaSelector::id>,
                                                memberText<&PaSelector::label>};
/// The schedules; they have numbers only.
inline constexpr Resource<ScheduleEntry> schedules{"schedule", "schedules", allSchedules,
                                                   memberText<&ScheduleEntry::Id>, nullptr};
/// The rendered texts, by number and UUID.
inline constexpr Resource<TTSDictionary> ttsItems{"tts-item", "tts-items", allTtsItems,
                                                  memberText<&TTSDictionary::key>,
                                                  memberText<&TTSDictionary::uuid>};
/// The locks, by the source's number.
inline constexpr Resource<SourceLock> locks{"lock", "locks", allLocks,
                                            memberText<&SourceLock::sourceId>, nullptr};

/// What each of the records is called.
template <class Record>
std::vector<Naming> namingsOf(const Resource<Record>& kind, const std::vector<Record>& records) {
    std::vector<Naming> namings;
    namings.reserve(records.size());
    for (const Record& record : records) {
        namings.push_back({kind.number != nullptr ? kind.number(record) : std::string(),
                           kind.name != nullptr ? kind.name(record) : std::string()});
    }
    return namings;
}

/// The one resource of the kind with this number, or this label or name (see `findNamed`).
/// @throws NotFound, Ambiguous
template <class Record>
Record findOne(const Resource<Record>& kind, const std::string& wanted) {
    const std::vector<Record> records = kind.all();
    return records[findNamed(kind.one, wanted, namingsOf(kind, records))];
}

}  // namespace paclient
