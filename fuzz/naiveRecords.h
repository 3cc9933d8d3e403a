// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "client/recordText.h"
#include "include/common/RecordList.h"

/// @file
/// A second reading of records, as texts and by layouts that are texts too.

namespace naive {

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

/// The columns of a kind: a member and its form, or - for a column that is skipped. After the form
/// comes * when an update compares and copies the member, @ when it compares the lengths of lists.
///   # number   d decimal   s text as received   t translated text   l list   z translated list
///   u translated list, sorted, each entry once   b whether the number is 1
using Layout = const char*;

/// Reads fields, one for every column, into a record; what is absent stays.
void read(Layout layout, const pa::RecordFields& fields, Record& record);

/// Merges what was read into the entry of its cache.
/// @return whether the entry counts as changed
bool merge(Layout layout, Record& cached, const Record& decoded);

/// Take the content of a request, and the parts and times of a schedule, out of its texts.
/// @return false when the record is dropped
/// @{
bool takeRequestContent(Record& request);
bool takeSchedule(Record& schedule, const pa::RecordFields& fields);
/// @}

}  // namespace naive
