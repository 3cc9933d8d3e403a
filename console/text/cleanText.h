#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// @file
/// Texts of the server and of files, made fit for a terminal.

namespace console {

/// The text without anything that a terminal would obey: control characters and marks that turn the
/// direction of writing are written as \xNN or \u{NNNN}, bytes that are no UTF-8 as \xNN.
std::string clean(std::string_view text);

/// Whether the text is UTF-8 throughout.
bool isUtf8(std::string_view text);

/// Whether the text has a control character (U+0000 to U+001F, or U+007F).
bool hasControlCharacter(std::string_view text);

/// How many columns of a terminal a clean text takes.
std::size_t displayWidth(std::string_view cleanText);

/// The clean text cut, or filled with blanks, to `width` columns.
std::string fitted(std::string_view cleanText, std::size_t width);

}  // namespace console
