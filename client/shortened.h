// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace paclient {

/// The text, cut to so many characters of UTF-8 with "..." at the end when it is longer. Works on
/// any bytes; the result has at most four for each character.
/// @param maxCharacters above 3
inline std::string shortened(const std::string& text, std::size_t maxCharacters) {
    constexpr std::size_t dots = 3;
    constexpr std::size_t maxContinuation = 3;  // bytes of a character after its first
    std::size_t characters = 0;
    std::size_t continuation = 0;
    std::size_t cut = text.size();
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool continues = (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
        if (continues && characters > 0 && continuation < maxContinuation) {
            ++continuation;
            continue;
        }
        continuation = 0;
        if (characters == maxCharacters - dots) {
            cut = i;
        }
        if (++characters > maxCharacters) {
            return text.substr(0, cut) + "...";
        }
    }
    return text;
}

}  // namespace paclient
