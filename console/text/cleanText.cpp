// SPDX-License-Identifier: Apache-2.0
#include "console/text/cleanText.h"

#include <algorithm>
#include <iterator>

namespace console {

namespace {

using pautil::Character;

struct Range {
    char32_t first;
    char32_t last;
};

template <std::size_t count>
bool isIn(const Range (&ranges)[count], char32_t code) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const Range& r) { return code >= r.first && code <= r.last; });
}

/// Control characters, line and paragraph ends, and marks that turn the direction of writing.
constexpr Range harmful[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x61C, 0x61C},  {0x200E, 0x200F},
                             {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};
/// Characters that combine with the one before.
constexpr Range combining[] = {{0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},
                               {0x610, 0x61A},   {0x64B, 0x65F},   {0x1AB0, 0x1AFF},
                               {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
/// Characters of two columns.
constexpr Range wide[] = {
    {0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
    {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F680, 0x1FAFF}, {0x20000, 0x3FFFD}};

std::size_t widthOf(char32_t code) {
    if (isIn(combining, code)) {
        return 0;
    }
    return isIn(wide, code) ? 2 : 1;
}

/// At least `digits` hexadecimal digits.
std::string hex(char32_t code, std::size_t digits) {
    std::string result;
    for (; code != 0 || result.size() < digits; code >>= 4U) {
        result.insert(result.begin(), "0123456789ABCDEF"[code & 0xFU]);
    }
    return result;
}

}  // namespace

std::string clean(std::string_view text) {
    std::string result;
    pautil::forEachCharacter(text, [&result](const Character& c, std::string_view bytes) {
        const bool isHarmful = !c.valid || isIn(harmful, c.code);
        if (!isHarmful) {
            result += bytes;
        } else if (!c.valid || c.code <= 0x7F) {
            result += "\\x" + hex(static_cast<unsigned char>(bytes[0]), 2);
        } else {
            result += "\\u{" + hex(c.code, 4) + "}";
        }
    });
    return result;
}

std::size_t displayWidth(std::string_view cleanText) {
    std::size_t width = 0;
    pautil::forEachCharacter(
        cleanText, [&](const Character& c, std::string_view) { width += widthOf(c.code); });
    return width;
}

std::string fitted(std::string_view cleanText, std::size_t width, std::string_view mark) {
    const std::size_t fullWidth = displayWidth(cleanText);
    if (fullWidth <= width) {
        return std::string(cleanText) + std::string(width - fullWidth, ' ');
    }
    const std::size_t markWidth = std::min(width, displayWidth(mark));
    std::string result;
    std::size_t taken = 0;
    bool isFull = false;
    pautil::forEachCharacter(cleanText, [&](const Character& c, std::string_view bytes) {
        isFull = isFull || taken + widthOf(c.code) > width - markWidth;
        if (!isFull) {
            taken += widthOf(c.code);
            result += bytes;
        }
    });
    result += markWidth > 0 ? mark : "";
    return result + std::string(width - taken - markWidth, ' ');
}

}  // namespace console
