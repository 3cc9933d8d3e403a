// SPDX-License-Identifier: Apache-2.0
#include "util/utf8.h"

#include <algorithm>
#include <iterator>

namespace pautil {

namespace {

/// What the first byte of a sequence means: its length, and the least code that needs it.
struct Lead {
    unsigned mask;
    unsigned bits;
    std::size_t bytes;
    char32_t least;
};
constexpr Lead leads[] = {
    {0x80, 0x00, 1, 0x0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

}  // namespace

Character characterAt(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(at);
    const auto* const lead =
        std::find_if(std::begin(leads), std::end(leads),
                     [first](const Lead& l) { return (first & l.mask) == l.bits; });
    if (lead == std::end(leads) || at + lead->bytes > text.size()) {
        return {};
    }
    char32_t code = first & ~lead->mask & 0xFFU;
    for (std::size_t i = at + 1; i < at + lead->bytes; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return {};
        }
        code = code << 6U | (byte(i) & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < lead->least || code > 0x10FFFF || surrogate) {
        return {};
    }
    return {code, lead->bytes, true};
}

bool isUtf8(std::string_view text) {
    bool isValid = true;
    forEachCharacter(text, [&](const Character& c, std::string_view) { isValid &= c.valid; });
    return isValid;
}

std::size_t countCharacters(std::string_view text) {
    std::size_t count = 0;
    forEachCharacter(text, [&](const Character&, std::string_view) { ++count; });
    return count;
}

bool hasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7F;
    });
}

}  // namespace pautil
