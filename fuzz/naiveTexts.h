// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// @file
/// Plain readings of the texts on the link, character by character: what the SDK's are compared
/// with.

namespace naive {

using Tokens = std::vector<std::string>;

/// The tokens of a list.
Tokens tokens(const std::string& text, char separator, bool markEmpty = false);

/// A text without its encoding; one that is not a whole quoted text as it is.
std::string translated(const std::string& text);

/// The number at the front of a text, cut to the range of int.
int number(const std::string& text);

}  // namespace naive
