#include "sdk/records/numberText.h"

#include <array>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <limits>

using namespace pa;

int pa::decodeInt(const char* text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) {
        ++text;
    }
    const bool negative = *text == '-';
    if (negative || *text == '+') {
        ++text;
    }
    constexpr long long most = std::numeric_limits<int>::max();
    const long long limit = negative ? most + 1 : most;
    long long value = 0;
    for (; *text >= '0' && *text <= '9' && value < limit; ++text) {
        value = value * 10 + (*text - '0');
    }
    value = value < limit ? value : limit;
    return static_cast<int>(negative ? -value : value);
}

double pa::decodeDouble(const char* text) {
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
