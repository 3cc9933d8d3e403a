#pragma once

#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "console/text/names.h"
#include "console/text/records.h"

/// @file
/// Records as text for people: enumerations by name, lists with commas between.

namespace console {

std::string valueText(const std::string& value);
std::string valueText(const std::vector<std::string>& value);
std::string valueText(const std::vector<unsigned>& value);
std::string valueText(const std::vector<TTSVocalizer>& value);
std::string valueText(const std::map<std::string, std::string>& value);
std::string valueText(bool value);
std::string valueText(double value);
std::string valueText(const Gain& value);

template <class Value>
std::string valueText(const Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        return nameOf(value);
    } else {
        return std::to_string(value);
    }
}

/// For example "another client (UUID)".
std::string holderText(const Lock& lock);

/// The text of the member with this name.
template <class Record>
std::string memberText(const Record& record, const std::string& wanted) {
    std::string text;
    forEachMember(record, [&](const char* name, const auto& value) {
        if (name == wanted) {
            text = valueText(value);
        }
    });
    return text;
}

}  // namespace console
