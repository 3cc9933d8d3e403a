#pragma once

#include <map>
#include <vector>

/// Copies of every value of a cache, in ascending key order.
template <class Key, class Record>
std::vector<Record> valuesOf(const std::map<Key, Record>& cache) {
    std::vector<Record> values;
    values.reserve(cache.size());
    for (const auto& entry : cache) {
        values.push_back(entry.second);
    }
    return values;
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
