// SPDX-License-Identifier: Apache-2.0
#include "sdk/records/numberText.h"

#include <array>
#include <cfloat>
#include <charconv>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>

#include "resource/common/stringUtils.h"

using namespace pa;

namespace {

const char* withoutWhiteSpace(const char* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) {
        ++text;
    }
    return text;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// A plain decimal number of at most 15 digits; nothing for any other text. Its digits and the
/// power of ten are exact as doubles, so that one division rounds it correctly.
std::optional<double> shortDecimal(const char* text) {
    constexpr std::array<double, 16> powersOfTen = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr std::size_t mostDigits = powersOfTen.size() - 1;
    text = withoutWhiteSpace(text);
    const bool negative = *text == '-';
    if (negative || *text == '+') {
        ++text;
    }
    std::int64_t digits = 0;
    std::size_t count = 0;
    const auto takeDigits = [&] {
        for (; isDigit(*text) && count <= mostDigits; ++text, ++count) {
            digits = digits * 10 + (*text - '0');
        }
    };
    takeDigits();
    const std::size_t whole = count;
    if (*text == '.') {
        ++text;
        takeDigits();
    }
    // A letter may continue the number: an exponent, or the x of a hexadecimal one.
    const bool isWhole =
        count > 0 && count <= mostDigits && asciiLower(*text) != 'e' && asciiLower(*text) != 'x';
    if (!isWhole) {
        return std::nullopt;
    }
    // The sign comes first, for a thread that rounds in one direction.
    return (negative ? -1.0 : 1.0) * static_cast<double>(digits) / powersOfTen[count - whole];
}

}  // namespace

int pa::decodeInt(const char* text) {
    bool negative = false;
    if (!isDigit(*text)) {
        text = withoutWhiteSpace(text);
        negative = *text == '-';
        if (negative || *text == '+') {
            ++text;
        }
    }
    constexpr long long most = std::numeric_limits<int>::max();
    const long long limit = negative ? most + 1 : most;
    long long value = 0;
    for (; isDigit(*text) && value < limit; ++text) {
        value = value * 10 + (*text - '0');
    }
    value = value < limit ? value : limit;
    return static_cast<int>(negative ? -value : value);
}

double pa::decodeDouble(const char* text) {
    if constexpr (FLT_EVAL_METHOD == 0) {  // a division is rounded to a double, and once
        if (const std::optional<double> value = shortDecimal(text)) {
            return *value;
        }
    }
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, nullptr, cLocale);
}

void pa::appendInt(std::string& out, long long value) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    out.append(digits.data(), end);
}

void pa::appendDouble(std::string& out, double value) {
    constexpr int significantDigits = 6;
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::general, significantDigits)
                         .ptr;
    out.append(digits.data(), end);
}
