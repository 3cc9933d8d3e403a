#pragma once

#include <optional>
#include <vector>

/// @file
/// A cache is a `RecordCache` or a map by key.

namespace pa {

template <class Cache>
using RecordIn = typename Cache::mapped_type;

/// Copies of every value of a cache, in ascending key order.
template <class Cache>
std::vector<RecordIn<Cache>> valuesOf(const Cache& cache) {
    std::vector<RecordIn<Cache>> values;
    values.reserve(cache.size());
    for (const auto& entry : cache) {
        values.push_back(entry.second);
    }
    return values;
}

/// Every key of a cache, in ascending order.
template <class Cache>
std::vector<int> keysOf(const Cache& cache) {
    std::vector<int> keys;
    keys.reserve(cache.size());
    for (const auto& entry : cache) {
        keys.push_back(entry.first);
    }
    return keys;
}

/// Copies of the values whose `member` has a value, in ascending key order.
template <class Cache, class Value>
std::vector<RecordIn<Cache>> valuesWith(const Cache& cache, Value RecordIn<Cache>::*member,
                                        const Value& value) {
    std::vector<RecordIn<Cache>> values;
    for (const auto& entry : cache) {
        if (entry.second.*member == value) {
            values.push_back(entry.second);
        }
    }
    return values;
}

/// The state of the first resource with an id, in ascending key order; nothing for an unknown one.
template <class Cache>
auto stateOf(const Cache& cache, int id) -> std::optional<decltype(RecordIn<Cache>::state)> {
    for (const auto& entry : cache) {
        if (entry.second.id == id) {
            return entry.second.state;
        }
    }
    return std::nullopt;
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
