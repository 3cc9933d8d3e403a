#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "console/text/records.h"

/// @file
/// Records as JSON: objects with the names of the record's members, in its order. Enumerations and
/// gains are numbers.

namespace console {

using Json = nlohmann::ordered_json;

template <class Record>
Json toJson(const std::vector<Record>& records);

template <class Value>
Json jsonValue(const Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        return static_cast<int>(value);
    } else if constexpr (std::is_same_v<Value, Gain>) {
        return value.getLevel();
    } else if constexpr (std::is_same_v<Value, std::vector<TTSVocalizer>>) {
        return toJson(value);
    } else {
        return value;
    }
}

template <class Record>
Json toJson(const Record& record) {
    Json object = Json::object();
    forEachMember(record,
                  [&](const char* name, const auto& value) { object[name] = jsonValue(value); });
    return object;
}

template <class Record>
Json toJson(const std::vector<Record>& records) {
    Json array = Json::array();
    for (const Record& record : records) {
        array.push_back(toJson(record));
    }
    return array;
}

/// The JSON text as one line with its end. Bytes that are no UTF-8 become U+FFFD.
std::string jsonLine(const Json& json);

/// The same over many lines, one for each record of an array.
std::string jsonLines(const Json& json);

}  // namespace console
