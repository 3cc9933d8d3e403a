// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// @file
/// Writes the encoding of texts on the link; `FieldReader` reads it. A nested list is encoded once
/// for each level, so any text arrives byte for byte, whatever separators it holds.

namespace simserver {

/// The text between double quotes, with a backslash before every double quote and backslash in it.
std::string quotedText(std::string_view plain);

/// Every text quoted, with a separator between them: a list that its reader splits once.
std::string quotedList(const std::vector<std::string>& texts, char separator);

/// A number with at most six significant digits and no trailing zeros, in every locale.
std::string decimalText(double value);

/// @throws Refused when there is a NUL byte, which no text holds
void refuseNul(std::string_view payload);

}  // namespace simserver
