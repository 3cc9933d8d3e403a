#pragma once

#include <map>
#include <optional>
#include <vector>

namespace pa {

/// Copies of every value of a cache, in ascending key order.
template <class Record>
std::vector<Record> valuesOf(const std::map<int, Record>& cache) {
    std::vector<Record> values;
    values.reserve(cache.size());
    for (const auto& entry : cache) {
        values.push_back(entry.second);
    }
    return values;
}

/// Every key of a cache, in ascending order.
template <class Record>
std::vector<int> keysOf(const std::map<int, Record>& cache) {
    std::vector<int> keys;
    keys.reserve(cache.size());
    for (const auto& entry : cache) {
        keys.push_back(entry.first);
    }
    return keys;
}

/// Copies of the values whose `member` has a value, in ascending key order.
template <class Record, class Value>
std::vector<Record> valuesWith(const std::map<int, Record>& cache, Value Record::*member,
                               const Value& value) {
    std::vector<Record> values;
    for (const auto& entry : cache) {
        if (entry.second.*member == value) {
            values.push_back(entry.second);
        }
    }
    return values;
}

/// The state of the first resource with an id, in ascending key order; nothing for an unknown one.
template <class Record>
auto stateOf(const std::map<int, Record>& cache, int id) -> std::optional<decltype(Record::state)> {
    for (const auto& entry : cache) {
        if (entry.second.id == id) {
            return entry.second.state;
        }
    }
    return std::nullopt;
}

/// A copy of the value under a key; nothing for an unknown one.
template <class Record>
std::optional<Record> valueAt(const std::map<int, Record>& cache, int key) {
    const auto found = cache.find(key);
    return found == cache.end() ? std::nullopt : std::optional(found->second);
}

/// Removes one entry of a cache, or every entry for the key 0.
template <class Record>
void eraseFrom(std::map<int, Record>& cache, int key) {
    if (key == 0) {
        cache.clear();
    } else {
        cache.erase(key);
    }
}

}  // namespace pa
