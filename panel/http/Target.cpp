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

/// Calls the function with each part between separators.
template <class Function>
void split(std::string_view text, char separator, Function take) {
    while (true) {
        const std::size_t end = std::min(text.find(separator), text.size());
        take(text.substr(0, end));
        if (end == text.size()) {
            return;
        }
        text.remove_prefix(end + 1);
    }
}

}  // namespace

Target parseTarget(std::string_view target) {
    Target result;
    const std::size_t end = std::min(target.find('?'), target.size());
    result.path = target.substr(0, end);
    split(target.substr(1, end - 1), '/',
          [&](std::string_view part) { result.parts.push_back(decoded(part, false)); });
    if (end == target.size()) {
        return result;
    }
    split(target.substr(end + 1), '&', [&](std::string_view pair) {
        const std::size_t sign = std::min(pair.find('='), pair.size());
        if (!pair.empty()) {
            result.query.emplace(decoded(pair.substr(0, sign), true),
                                 decoded(pair.substr(std::min(sign + 1, pair.size())), true));
        }
    });
    return result;
}

}  // namespace papanel
