// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "util/utf8.h"

/// @file
/// Texts of the server and of files, made fit for a terminal.

namespace console {

using pautil::hasControlCharacter;
using pautil::isUtf8;

/// The text without anything that a terminal would obey: control characters and marks that turn the
/// direction of writing are written as \xNN or \u{NNNN}, bytes that are not UTF-8 as \xNN.
std::string clean(std::string_view text);

/// How many columns of a terminal a clean text takes.
std::size_t displayWidth(std::string_view cleanText);

/// The clean text cut, or filled with blanks, to `width` columns.
/// @param mark written at the end of a text that is cut
std::string fitted(std::string_view cleanText, std::size_t width, std::string_view mark = "");

}  // namespace console
