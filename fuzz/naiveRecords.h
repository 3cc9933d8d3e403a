#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/recordText.h"

/// @file
/// A second reading of records, as texts and by layouts that are texts too.

namespace naive {

/// The fields of a record; a field without a value is absent.
using Fields = std::vector<std::optional<std::string>>;

/// The members of a cached record as texts, by name.
using Record = std::map<std::string_view, std::string>;

std::string levelText(double level);  ///< with each bit

template <class Value>
std::string textOf(const Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        return std::to_string(static_cast<int>(value));
    } else if constexpr (std::is_same_v<Value, std::vector<std::string>>) {
        return std::to_string(value.size()) + ":" + paclient::lineText(value);
    } else if constexpr (std::is_same_v<Value, Gain>) {
        return levelText(value.getLevel());
    } else if constexpr (std::is_same_v<Value, double>) {
        return levelText(value);
    } else {
        return paclient::lineText(value);
    }
}

template <class Known>
Record recordOf(const Known& known) {
    Record record;
    paclient::forEachMember(known, [&](const paclient::MemberInfo& info, const auto& value) {
        record[info.name] = textOf(value);
    });
    return record;
}

/// A record of a kind as its fields give it; nothing for one that is dropped.
/// @param known the entry that the cache has, null for none
std::optional<Record> decode(const std::string& kind, int key, const Fields& fields,
                             const Record* known);

/// Merges what was decoded into the entry of its cache.
/// @return whether the entry counts as changed
bool merge(const std::string& kind, Record& cached, const Record& decoded);

}  // namespace naive
