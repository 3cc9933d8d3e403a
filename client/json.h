// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "../framework/api.h"
#include "names.h"
#include "records.h"

/// @file
/// Records as JSON: objects with the names of the record's members, in its order. Enumerations and
/// gains are numbers; JSON is as in RFC 8259. Every function may be called from any thread.

namespace paclient {

/// Keeps the order of the members.
using Json = nlohmann::ordered_json;

/// Whether enumerations are written for people, too.
enum class JsonTexts {
    Beside,  ///< after an enumeration its name: "state": 2, "stateText": "ATTACHED"
    None,    ///< the members only, so that a record can be read again
};

/// An array of records.
template <class Record>
Json toJson(const std::vector<Record>& records, JsonTexts texts = JsonTexts::Beside);

/// An object with the record's members.
template <class Record, class = std::enable_if_t<isDescribed<Record>>>
Json toJson(const Record& record, JsonTexts texts = JsonTexts::Beside);

/// Adds a member to an object.
PA_API void addMember(Json& object, const char* name, Json value);

/// Adds the name of an enumeration after its member, if texts are wanted.
PA_API void addText(Json& object, const char* name, const std::string& text, JsonTexts texts);

/// A member's value.
template <class Value>
Json jsonValue(const Value& value, JsonTexts texts = JsonTexts::Beside) {
    if constexpr (std::is_enum_v<Value>) {
        return static_cast<int>(value);
    } else if constexpr (std::is_same_v<Value, Gain>) {
        return value.getLevel();
    } else if constexpr (isDescribed<Value> || std::is_same_v<Value, std::vector<TTSVocalizer>>) {
        return toJson(value, texts);
    } else {
        return value;
    }
}

template <class Record, class>
Json toJson(const Record& record, JsonTexts texts) {
    Json object = Json::object();
    forEachMember(record, [&](const MemberInfo& info, const auto& value) {
        addMember(object, info.name, jsonValue(value, texts));  // GCOVR_EXCL_BR_LINE
        if constexpr (std::is_enum_v<std::decay_t<decltype(value)>>) {
            addText(object, info.name, nameOf(value), texts);  // GCOVR_EXCL_BR_LINE
        }
    });
    return object;
}

template <class Record>
Json toJson(const std::vector<Record>& records, JsonTexts texts) {
    Json array = Json::array();
    for (const Record& record : records) {
        array.push_back(toJson(record, texts));
    }
    return array;
}

/// The JSON text as one line with its end. Bytes that are not UTF-8 become U+FFFD.
PA_API std::string jsonLine(const Json& json);

/// The same over many lines, one for each record of an array.
PA_API std::string jsonLines(const Json& json);

}  // namespace paclient
