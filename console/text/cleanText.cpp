#include "console/text/cleanText.h"

#include <algorithm>
#include <iterator>

namespace console {

namespace {

/// One character of a text.
struct Character {
    char32_t code = 0;
    std::size_t bytes = 1;
    bool valid = false;
};

/// What the first byte of a UTF-8 sequence says: its length, and the least code that needs it.
struct Lead {
    unsigned mask;
    unsigned bits;
    std::size_t bytes;
    char32_t least;
};
constexpr Lead leads[] = {
    {0x80, 0x00, 1, 0x0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

Character characterAt(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(at);
    const auto lead = std::find_if(std::begin(leads), std::end(leads),
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

struct Range {
    char32_t first;
    char32_t last;
};

bool isIn(const Range* begin, const Range* end, char32_t code) {
    return std::any_of(begin, end,
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
    if (isIn(std::begin(combining), std::end(combining), code)) {
        return 0;
    }
    return isIn(std::begin(wide), std::end(wide), code) ? 2 : 1;
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
    for (std::size_t at = 0; at < text.size();) {
        const Character c = characterAt(text, at);
        if (!c.valid || c.code <= 0x7F) {
            const auto byte = static_cast<unsigned char>(text[at]);
            const bool harmless = c.valid && byte >= 0x20 && byte != 0x7F;
            result += harmless ? std::string(1, text[at]) : "\\x" + hex(byte, 2);
        } else if (isIn(std::begin(harmful), std::end(harmful), c.code)) {
            result += "\\u{" + hex(c.code, 4) + "}";
        } else {
            result += text.substr(at, c.bytes);
        }
        at += c.bytes;
    }
    return result;
}

bool isUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const Character c = characterAt(text, at);
        if (!c.valid) {
            return false;
        }
        at += c.bytes;
    }
    return true;
}

bool hasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7F;
    });
}

std::size_t displayWidth(std::string_view cleanText) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < cleanText.size();) {
        const Character c = characterAt(cleanText, at);
        width += widthOf(c.code);
        at += c.bytes;
    }
    return width;
}

std::string fitted(std::string_view cleanText, std::size_t width) {
    std::size_t taken = 0;
    std::size_t at = 0;
    while (at < cleanText.size()) {
        const Character c = characterAt(cleanText, at);
        if (taken + widthOf(c.code) > width) {
            break;
        }
        taken += widthOf(c.code);
        at += c.bytes;
    }
    return std::string(cleanText.substr(0, at)) + std::string(width - taken, ' ');
}

}  // namespace console
