#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>

/// @file
/// Which members an update of a cached record compares and copies is a table, and `mergeRecord` is
/// the one place that reads it.

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

/// Merges a decoded record into the cache: at the first difference all fields of the table are
/// copied, a record without a matching entry is added.
template <class Record, std::size_t N, class Match>
Merge mergeRecord(std::map<int, Record>& cache, int key, const Record& decoded,
                  const Field<Record> (&fields)[N], Match matches) {
    const auto found = cache.find(key);
    if (found == cache.end() || !matches(found->second, decoded)) {
        cache.emplace(key, decoded);
        return Merge::Added;
    }
    Record& cached = found->second;
    if (std::all_of(std::begin(fields), std::end(fields),
                    [&](const Field<Record>& field) { return field.same(cached, decoded); })) {
        return Merge::Unchanged;
    }
    for (const Field<Record>& field : fields) {
        field.copy(cached, decoded);
    }
    return Merge::Updated;
}

}  // namespace pa
