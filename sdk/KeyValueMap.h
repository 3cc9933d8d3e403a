// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

/// Named texts, in key order. A plain value without a lock.
class KeyValueMap {
public:
    /// Sets the value of `key`, whether or not it had one.
    void set(const std::string& key, const std::string& value) { values_[key] = value; }

    /// The value of `key`, empty when it has none.
    [[nodiscard]] std::string get_value(const std::string& key) const {
        const auto found = values_.find(key);
        return found == values_.end() ? std::string() : found->second;
    }

    /// Whether `key` has a value.
    [[nodiscard]] bool has_key(const std::string& key) const { return values_.count(key) > 0; }
    /// Removes `key`; nothing happens when it has no value.
    void erase(const std::string& key) { values_.erase(key); }
    /// Whether there is no key.
    [[nodiscard]] bool empty() const { return values_.empty(); }
    /// Removes every key.
    void clear() { values_.clear(); }
    /// The number of keys.
    [[nodiscard]] std::size_t size() const { return values_.size(); }

    /// Every key, in ascending order.
    [[nodiscard]] std::vector<std::string> get_all_keys() const {
        std::vector<std::string> keys;
        for (const auto& entry : values_) {
            keys.push_back(entry.first);
        }
        return keys;
    }

    friend bool operator==(const KeyValueMap& a, const KeyValueMap& b) {
        return a.values_ == b.values_;
    }
    friend bool operator!=(const KeyValueMap& a, const KeyValueMap& b) { return !(a == b); }

private:
    std::map<std::string, std::string> values_;
};
