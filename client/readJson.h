// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "client/json.h"

/// @file
/// Reading of JSON that may hold anything: every function reads a value of its type, or fails with
/// what would be right (std::invalid_argument).

namespace paclient {

/// Throws a `std::invalid_argument` with the text.
[[noreturn]] inline void failReading(const std::string& text) {
    throw std::invalid_argument(text);
}

/// An object with members of the record; one that is missing keeps its value.
template <class Record>
void readRecord(const Json& json, Record& record);

/// A whole number in the range of the type.
template <class Number>
void readWhole(const Json& json, Number& value) {
    using Limits = std::numeric_limits<Number>;
    const bool fits = json.is_number_integer() &&
                      (!json.is_number_unsigned() ||
                       json.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max())) &&
                      json.get<std::int64_t>() >= static_cast<std::int64_t>(Limits::min()) &&
                      json.get<std::int64_t>() <= static_cast<std::int64_t>(Limits::max());
    if (!fits) {
        failReading("is not a whole number from " + std::to_string(Limits::min()) + " to " +
                    std::to_string(Limits::max()));
    }
    value = json.get<Number>();
}

/// A whole number.
inline void readValue(const Json& json, int& value) {
    readWhole(json, value);
}

/// As above, from 0 on.
inline void readValue(const Json& json, unsigned& value) {
    readWhole(json, value);
}

/// A number.
inline void readValue(const Json& json, double& value) {
    if (!json.is_number()) {
        failReading("is not a number");
    }
    value = json.get<double>();
}

/// True or false.
inline void readValue(const Json& json, bool& value) {
    if (!json.is_boolean()) {
        failReading("is neither true nor false");
    }
    value = json.get<bool>();
}

/// A text without NUL.
inline void readValue(const Json& json, std::string& value) {
    if (!json.is_string()) {
        failReading("is not a text");
    }
    value = json.get<std::string>();
    if (value.find('\0') != std::string::npos) {
        failReading("has a NUL character");
    }
}

/// A voice.
inline void readValue(const Json& json, TTSVocalizer& value) {
    readRecord(json, value);
}

/// The number of an enumeration, whether it has a name or not.
template <class Enumeration, class = std::enable_if_t<std::is_enum_v<Enumeration>>>
void readValue(const Json& json, Enumeration& value) {
    int number = 0;
    readValue(json, number);
    value = static_cast<Enumeration>(number);
}

/// A list of two.
template <class First, class Second>
void readValue(const Json& json, std::pair<First, Second>& value) {
    if (!json.is_array() || json.size() != 2) {
        failReading("is not a list of two");
    }
    readValue(json[0], value.first);
    readValue(json[1], value.second);
}

/// As it is, for what is read elsewhere.
inline void readValue(const Json& json, Json& value) {
    value = json;
}

/// A list, added to the value.
template <class Entry>
void readValue(const Json& json, std::vector<Entry>& value) {
    if (!json.is_array()) {
        failReading("is not a list");
    }
    for (const Json& entry : json) {
        readValue(entry, value.emplace_back());
    }
}

/// An object of texts.
inline void readValue(const Json& json, std::map<std::string, std::string>& value) {
    if (!json.is_object()) {
        failReading("is not an object");
    }
    for (const auto& entry : json.items()) {
        readValue(entry.value(), value[entry.key()]);
    }
}

/// A value; what is wrong with it names the member.
template <class Value>
void readMember(const std::string& name, const Json& json, Value& value) {
    try {
        readValue(json, value);
    } catch (const std::invalid_argument& fault) {
        failReading("the member '" + name + "' " + fault.what());
    }
}

template <class Record>
void readRecord(const Json& json, Record& record) {
    if (!json.is_object()) {
        failReading("is not an object");
    }
    for (const auto& entry : json.items()) {
        bool isKnown = false;
        forEachMember(record, [&](const MemberInfo& info, auto& value) {
            if (entry.key() == info.name) {
                isKnown = true;
                readMember(entry.key(), entry.value(), value);
            }
        });
        if (!isKnown) {
            failReading("the member '" + entry.key() + "' is not known");
        }
    }
}

}  // namespace paclient
