// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/FieldText.h"

#include <array>
#include <charconv>
#include <system_error>

#include "simserver/protocol/Refused.h"

namespace simserver {

std::string quotedText(std::string_view plain) {
    std::string text = "\"";
    for (const char c : plain) {
        if (c == '"' || c == '\\') {
            text += '\\';
        }
        text += c;
    }
    return text += '"';
}

std::string quotedList(const std::vector<std::string>& texts, char separator) {
    std::string list;
    for (const std::string& text : texts) {
        list += list.empty() ? quotedText(text) : separator + quotedText(text);
    }
    return list;
}

std::string decimalText(double value) {
    std::array<char, 32> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 6);
    return error == std::errc() ? std::string(text.data(), end) : std::string();
}

void refuseNul(std::string_view payload) {
    if (payload.find('\0') != std::string_view::npos) {
        throw Refused("the payload holds a NUL byte");
    }
}

}  // namespace simserver
