// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>
#include <utility>

#include "sdk/records/RecordCache.h"

/// @file
/// Which members an update of a cached record compares and copies is a table, and `mergeRecord`
/// is the one place that reads it.

namespace pa {

/// One member that an update compares and copies.
template <class Record>
struct Field {
    bool (*same)(const Record& cached, const Record& decoded);
    void (*copy)(Record& cached, const Record& decoded);
};

/// The record that a member belongs to.
template <class Record, class Value>
Record ownerOf(Value Record::*);
template <auto Member>
using OwnerOf = decltype(ownerOf(Member));

template <auto Member>
bool sameValue(const OwnerOf<Member>& cached, const OwnerOf<Member>& decoded) {
    return cached.*Member == decoded.*Member;
}
template <auto Member>
bool sameSize(const OwnerOf<Member>& cached, const OwnerOf<Member>& decoded) {
    return (cached.*Member).size() == (decoded.*Member).size();
}
/// A copy: the memory of the decoded value may be much more than it needs.
template <auto Member>
void copyMember(OwnerOf<Member>& cached, const OwnerOf<Member>& decoded) {
    cached.*Member = decoded.*Member;
}

/// A member that is compared by its value.
template <auto Member>
constexpr Field<OwnerOf<Member>> byValue{sameValue<Member>, copyMember<Member>};

/// A list that is compared only by the number of its entries.
template <auto Member>
constexpr Field<OwnerOf<Member>> bySize{sameSize<Member>, copyMember<Member>};

/// The outcome of merging a record into its cache.
enum class Merge { Unchanged, Updated, Added };

/// An entry is matched by its cache key and the resource's own id. An entry with another id stays
/// unchanged, and the merge still counts as an addition.
template <class Record>
bool matchById(const Record& cached, const Record& decoded) {
    return cached.id == decoded.id;
}

/// An entry is matched by its cache key only.
template <class Record>
bool matchByKey(const Record& /*cached*/, const Record& /*decoded*/) {
    return true;
}

/// Where the record is in its cache now, and how it came there.
template <class Record>
struct Merged {
    typename RecordCache<Record>::iterator entry;
    Merge outcome;
};

template <const auto& fields, class Record, std::size_t... rows>
bool sameFields(const Record& cached, const Record& decoded,
                std::index_sequence<rows...> /*rows*/) {
    return (fields[rows].same(cached, decoded) && ...);
}
template <const auto& fields, class Record, std::size_t... rows>
void copyFields(Record& cached, const Record& decoded, std::index_sequence<rows...> /*rows*/) {
    (fields[rows].copy(cached, decoded), ...);
}

/// Merges a decoded record into the cache: at the first difference all fields of the table are
/// copied, a record without a matching entry is added.
template <const auto& fields, class Record, class Match>
Merged<Record> mergeRecord(RecordCache<Record>& cache, int key, const Record& decoded,
                           Match matches) {
    constexpr std::make_index_sequence<std::size(fields)> rows;
    const auto found = cache.find(key);
    if (found == cache.end() || !matches(found->second, decoded)) {
        return {cache.emplace(key, decoded).first, Merge::Added};
    }
    Record& cached = found->second;
    if (sameFields<fields>(cached, decoded, rows)) {
        return {found, Merge::Unchanged};
    }
    copyFields<fields>(cached, decoded, rows);
    return {found, Merge::Updated};
}

}  // namespace pa
