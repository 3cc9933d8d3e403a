#include "simserver/protocol/FieldText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

[[noreturn]] void refuseNumber(std::string_view text) {
    throw Refused("\"" + std::string(text) + "\" is not a number");
}

}  // namespace

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

std::string unquoted(std::string_view raw) {
    if (raw.empty() || raw.front() != '"') {
        throw Refused("not a quoted text");
    }
    std::string plain;
    for (std::size_t i = 1; i < raw.size(); ++i) {
        if (raw[i] == '"') {
            if (i + 1 != raw.size()) {
                throw Refused("text behind a closing quote");
            }
            return plain;
        }
        if (raw[i] == '\\') {
            ++i;
            if (i == raw.size() || (raw[i] != '"' && raw[i] != '\\')) {
                throw Refused("stray backslash in a quoted text");
            }
        }
        plain += raw[i];
    }
    throw Refused("quote that is not closed");
}

void refuseNul(std::string_view payload) {
    if (payload.find('\0') != std::string_view::npos) {
        throw Refused("the payload holds a NUL byte");
    }
}

std::vector<std::string_view> pieces(std::string_view raw, char separator) {
    std::vector<std::string_view> found;
    bool inQuotes = false;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '"') {
            inQuotes = !inQuotes;
        } else if (inQuotes && raw[i] == '\\') {
            ++i;  // the next character is neither a quote nor an escape
        } else if (!inQuotes && raw[i] == separator) {
            found.push_back(raw.substr(begin, i - begin));
            begin = i + 1;
        }
    }
    found.push_back(raw.substr(begin));
    return found;
}

template <class Number>
Number wholeNumber(std::string_view text) {
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
        refuseNumber(text);
    }
    if (error == std::errc::result_out_of_range) {
        using Limits = std::numeric_limits<Number>;
        return text.front() == '-' ? Limits::min() : Limits::max();
    }
    return value;
}
template int wholeNumber<int>(std::string_view text);
template unsigned wholeNumber<unsigned>(std::string_view text);

double decimalNumber(std::string_view text) {
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        refuseNumber(text);
    }
    return value;
}

std::string decimalText(double value) {
    std::array<char, 32> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 6);
    return error == std::errc() ? std::string(text.data(), end) : std::string();
}

}  // namespace simserver
