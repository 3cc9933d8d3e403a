// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "include/common/RecordList.h"

/// @file
/// What every fuzz target has. A target is a program that defines `run`. A property that does not
/// hold, an exception that leaves `run`, and what a sanitizer reports are findings.

namespace fuzz {

/// Checks one input.
void run(const std::string& input);

/// Ends the process, with the name of the property, when it does not hold.
void require(bool holds, std::string_view property);

/// The same of two texts, which the message has too.
void requireEqual(std::string_view found, std::string_view expected, std::string_view what);

/// The texts between separators. Nothing after the last separator is no text.
std::vector<std::string> pieces(const std::string& text, char separator);

/// Calls the function that the first line of the input names with the rest, if there is one.
void runNamed(const std::string& input,
              const std::map<std::string, void (*)(const std::string&)>& functions);

/// The fields of a record as the link holds them.
pa::RecordFields recordFields(const std::vector<std::optional<std::string>>& fields);

/// Whether `call` returns. An exception of this type means no, any other leaves.
template <class Allowed, class Call>
bool returns(Call call) {
    try {
        call();
        return true;
    } catch (const Allowed&) {
        return false;
    }
}

}  // namespace fuzz
