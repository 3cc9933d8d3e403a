// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "../framework/api.h"
#include "names.h"
#include "records.h"

/// @file
/// Records as text for people: enumerations by name, lists with commas between. Nothing depends on
/// the locale. Texts of the server are not changed: a program cleans them for its output.
/// Every function may be called from any thread.

namespace paclient {

/// @name A member of a record as text
/// @{

/// An enumeration by name, the elements of a list with commas between.
inline std::string valueText(const std::string& value) {
    return value;
}
PA_API std::string valueText(const std::vector<std::string>& value);
PA_API std::string valueText(const std::vector<unsigned>& value);
PA_API std::string valueText(const std::vector<TTSVocalizer>& value);
PA_API std::string valueText(const std::map<std::string, std::string>& value);
PA_API std::string valueText(bool value);
PA_API std::string valueText(double value);
PA_API std::string valueText(const Gain& value);

/// All members of a record with "|" between them, those of a nested record too: for logs and
/// comparisons.
template <class Record>
std::string lineOf(const Record& record);

/// A member as it is written in that line.
template <class Value>
std::string lineText(const Value& value);

template <class Value>
std::string valueText(const Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        return nameOf(value);
    } else if constexpr (isDescribed<Value>) {
        return lineOf(value);
    } else {
        return std::to_string(value);
    }
}
/// @}

template <class Record>
std::string lineOf(const Record& record) {
    std::string line;
    const char* between = "";
    forEachMember(record, [&](const MemberInfo& /*info*/, const auto& value) {
        line += between + lineText(value);
        between = "|";
    });
    return line;
}

template <class Value>
std::string lineText(const Value& value) {
    if constexpr (std::is_same_v<Value, std::vector<TTSVocalizer>>) {
        std::string text;
        for (const TTSVocalizer& spoken : value) {
            text += '{' + lineOf(spoken) + '}';
        }
        return text;
    } else {
        return valueText(value);
    }
}

/// `lineOf` each record, a line each.
template <class Record>
std::string linesOf(const std::vector<Record>& records) {
    std::string lines;
    for (const Record& record : records) {
        lines += lineOf(record) + '\n';
    }
    return lines;
}

/// The text of a member, or of what a getter returns: `memberText<&PaSource::label>(source)`.
template <auto member, class Record>
std::string memberText(const Record& record) {
    return valueText(std::invoke(member, record));
}

/// The texts of a member, record by record.
template <auto member, class Record>
std::vector<std::string> memberTexts(const std::vector<Record>& records) {
    std::vector<std::string> texts;
    texts.reserve(records.size());
    for (const Record& record : records) {
        texts.push_back(memberText<member>(record));
    }
    return texts;
}

/// With a fixed number of digits after the point, and blanks in front up to a width.
PA_API std::string fixedText(double value, int digits, int width = 0);

/// For example "another client (UUID)".
PA_API std::string holderText(const SourceLock& lock);

}  // namespace paclient
