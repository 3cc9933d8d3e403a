// SPDX-License-Identifier: Apache-2.0
#include "panel/http/Target.h"

#include <algorithm>
#include <charconv>

#include "panel/http/ApiError.h"

namespace papanel {

namespace {

char decodedByte(std::string_view digits) {
    constexpr int hexadecimal = 16;
    unsigned char byte = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, byte, hexadecimal);
    if (digits.size() != 2 || error != std::errc() || stop != end || byte == 0) {
        throw ApiError(400, "bad-request", "the address of the request is malformed");
    }
    return static_cast<char>(byte);
}

std::string decoded(std::string_view text, bool isQuery) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '%') {
            result += decodedByte(text.substr(at + 1, 2));
            at += 2;
        } else {
            result += isQuery && text[at] == '+' ? ' ' : text[at];
        }
    }
    return result;
}

/// The parts between separators.
std::vector<std::string> partsOf(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char letter : text) {
        if (letter == separator) {
            parts.emplace_back();
        } else {
            parts.back() += letter;
        }
    }
    return parts;
}

}  // namespace

Target parseTarget(const std::string& target) {
    Target result;
    const std::size_t end = std::min(target.find('?'), target.size());
    result.path = target.substr(0, end);
    for (const std::string& part : partsOf(target.substr(1, end - 1), '/')) {
        result.parts.push_back(decoded(part, false));
    }
    for (const std::string& pair : partsOf(target.substr(std::min(end + 1, target.size())), '&')) {
        if (!pair.empty()) {
            const std::size_t sign = std::min(pair.find('='), pair.size());
            const std::size_t value = std::min(sign + 1, pair.size());
            result.query.emplace(decoded(pair.substr(0, sign), true),
                                 decoded(pair.substr(value), true));
        }
    }
    return result;
}

}  // namespace papanel
