#pragma once

#include <cstddef>
#include <map>
#include <unordered_map>
#include <utility>

namespace pa {

/// Records by key: listed in ascending order, as of a map, and found in constant time, because they
/// are reported far more often than they are listed. A plain value without a lock.
template <class Record>
class RecordCache {
    using Map = std::map<int, Record>;

public:
    using mapped_type = Record;
    using iterator = typename Map::iterator;
    using const_iterator = typename Map::const_iterator;

    iterator find(int key) {
        const auto found = index_.find(key);
        return found == index_.end() ? end() : found->second;
    }
    const_iterator find(int key) const {
        const auto found = index_.find(key);
        return found == index_.end() ? end() : const_iterator(found->second);
    }

    /// Adds a record, unless there is one with its key.
    /// @return the one that is there now
    iterator emplace(int key, const Record& record) {
        // Until the record is stored the key is that of none.
        iterator& place = index_.try_emplace(key, records_.end()).first->second;
        if (place == records_.end()) {
            place = records_.emplace(key, record).first;
        }
        return place;
    }

    /// Removes the record with a key; none is ignored.
    void erase(int key) {
        if (const iterator found = find(key); found != end()) {
            records_.erase(found);
        }
        index_.erase(key);
    }
    void clear() {
        records_.clear();
        index_.clear();
    }

    iterator begin() { return records_.begin(); }
    iterator end() { return records_.end(); }
    const_iterator begin() const { return records_.begin(); }
    const_iterator end() const { return records_.end(); }
    std::size_t size() const { return records_.size(); }

private:
    Map records_;
    std::unordered_map<int, iterator> index_;
};

}  // namespace pa
