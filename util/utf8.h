// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

/// @file
/// Texts as UTF-8. A byte that belongs to no valid character counts as one of its own.

namespace pautil {

/// One character of a text.
struct Character {
    char32_t code = 0;      ///< 0 for a byte that is not valid
    std::size_t bytes = 1;  ///< how many it takes
    bool valid = false;
};

/// The character that begins at a byte of the text. Overlong forms, surrogates and codes above
/// U+10FFFF are not valid.
/// @param at below the size of the text
[[nodiscard]] Character characterAt(std::string_view text, std::size_t at);

/// Calls `take(character, bytes)` for each character of the text, `bytes` being its part of the
/// text.
template <class Take>
void forEachCharacter(std::string_view text, Take take) {
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        take(character, text.substr(at, character.bytes));
        at += character.bytes;
    }
}

/// Whether the text is UTF-8 throughout.
[[nodiscard]] bool isUtf8(std::string_view text);

/// How many characters it has.
[[nodiscard]] std::size_t countCharacters(std::string_view text);

/// Whether the text has a control character (U+0000 to U+001F, or U+007F).
[[nodiscard]] bool hasControlCharacter(std::string_view text);

}  // namespace pautil
