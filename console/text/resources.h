#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "console/ExitCode.h"
#include "console/text/lookup.h"
#include "console/text/recordText.h"

/// @file
/// The kinds of resource, once: where they come from, what a list shows of them, how one is named.

namespace console {

/// One column of a list.
struct Column {
    const char* heading;
    const char* member;
};

/// A kind of resource.
template <class Record>
struct Resource {
    const char* one;
    const char* many;
    std::vector<Record> (*all)();
    std::vector<Column> columns;
    /// The members by which a resource is named: a number first where it has one.
    std::vector<const char*> keys;
};

extern const Resource<PaSource> sources;
extern const Resource<PaSink> sinks;
extern const Resource<PaZone> zones;
extern const Resource<TTSVocalizer> voices;
extern const Resource<AnnouncementRequest> announcements;
extern const Resource<Trigger> triggers;  ///< the server's, then this client's own
extern const Resource<PaSelector> selectors;
extern const Resource<Schedule> schedules;  ///< in order of their ids
extern const Resource<TTSDictionary> ttsItems;
extern const Resource<Lock> locks;

/// The texts of a member, record by record.
template <class Record>
std::vector<std::string> memberTexts(const std::vector<Record>& records, const char* member) {
    std::vector<std::string> texts;
    texts.reserve(records.size());
    for (const Record& record : records) {
        texts.push_back(memberText(record, member));
    }
    return texts;
}

/// The one resource of the kind that is named so.
/// @throws Failure when there is none, or more than one
template <class Record>
Record findOne(const Resource<Record>& kind, const std::string& wanted) {
    const std::vector<Record> records = kind.all();
    for (const char* const key : kind.keys) {
        const auto names = memberTexts(records, key);
        const bool isLast = key == kind.keys.back();
        if (isLast || knowsName(wanted, names)) {
            return records[findName(kind.one, wanted, names)];
        }
    }
    throw Failure(ExitCode::NotFound, std::string("nothing names a ") + kind.one);
}

}  // namespace console
