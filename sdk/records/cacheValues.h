// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

/// @file
/// Of the records in a `RecordCache`.

namespace pa {

template <class Cache>
using RecordIn = typename Cache::mapped_type;

/// The entries whose values have a property, in ascending key order.
template <class Cache, class Property>
std::vector<std::pair<int, const RecordIn<Cache>*>> entriesWith(const Cache& cache, Property has) {
    std::vector<std::pair<int, const RecordIn<Cache>*>> entries;
    for (const auto& [key, value] : cache) {
        if (has(value)) {
            entries.emplace_back(key, &value);
        }
    }
    std::sort(entries.begin(), entries.end());  // no two have the same key
    return entries;
}

/// Copies of the values with a property, in ascending key order.
template <class Cache, class Property>
std::vector<RecordIn<Cache>> valuesWith(const Cache& cache, Property has) {
    const auto entries = entriesWith(cache, has);
    std::vector<RecordIn<Cache>> values;
    values.reserve(entries.size());
    for (const auto& entry : entries) {
        values.push_back(*entry.second);
    }
    return values;
}

/// Copies of the values whose `member` has a value, in ascending key order.
template <class Cache, class Value>
std::vector<RecordIn<Cache>> valuesWith(const Cache& cache, Value RecordIn<Cache>::*member,
                                        const Value& value) {
    return valuesWith(cache,
                      [&](const RecordIn<Cache>& record) { return record.*member == value; });
}

/// Copies of every value of a cache, in ascending key order.
template <class Cache>
std::vector<RecordIn<Cache>> valuesOf(const Cache& cache) {
    return valuesWith(cache, [](const RecordIn<Cache>& /*record*/) { return true; });
}

/// Every key of a cache, in ascending order.
template <class Cache>
std::vector<int> keysOf(const Cache& cache) {
    std::vector<int> keys;
    keys.reserve(cache.size());
    for (const auto& entry : cache) {
        keys.push_back(entry.first);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

/// The state of the first resource with an id, in ascending key order; nothing for an unknown one.
template <class Cache>
auto stateOf(const Cache& cache, int id) -> std::optional<decltype(RecordIn<Cache>::state)> {
    const auto entries =
        entriesWith(cache, [id](const RecordIn<Cache>& record) { return record.id == id; });
    return entries.empty() ? std::nullopt : std::optional(entries.front().second->state);
}

/// A copy of the value under a key; nothing for an unknown one.
template <class Cache>
std::optional<RecordIn<Cache>> valueAt(const Cache& cache, int key) {
    const auto found = cache.find(key);
    return found == cache.end() ? std::nullopt : std::optional(found->second);
}

/// Removes one entry of a cache, or every entry for the key 0.
template <class Cache>
void eraseFrom(Cache& cache, int key) {
    if (key == 0) {
        cache.clear();
    } else {
        cache.erase(key);
    }
}

}  // namespace pa
