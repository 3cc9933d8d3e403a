// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

/// A text that is appended piece by piece to one reserved string, quotes inside of quotes included.
class PlainText {
public:
    explicit PlainText(std::size_t size) { text_.reserve(size); }

    PlainText& number(long long value) {
        char digits[24];
        text_.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
        return *this;
    }
    PlainText& decimal(double value) {
        char digits[32];
        constexpr auto format = std::chars_format::general;
        text_.append(digits, std::to_chars(digits, std::end(digits), value, format, 6).ptr);
        return *this;
    }
    PlainText& plain(std::string_view text) {
        text_ += text;
        return *this;
    }
    /// @param depth in how many quoted texts the place is
    PlainText& quote(int depth) {
        text_.append((std::size_t{1} << depth) - 1, '\\');
        text_ += '"';
        return *this;
    }
    PlainText& quoted(std::string_view text, int depth) {
        quote(depth);
        std::size_t begin = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '"' || text[i] == '\\') {
                plain(text.substr(begin, i - begin));
                text_.append((std::size_t{2} << depth) - 1, '\\');
                begin = i;
            }
        }
        text.remove_prefix(begin);
        return plain(text).quote(depth);
    }
    /// @param append called for each value
    template <class Values, class Append>
    PlainText& list(const Values& values, char between, Append append) {
        bool isFirst = true;
        for (const auto& value : values) {
            if (!std::exchange(isFirst, false)) {
                text_ += between;
            }
            append(value);
        }
        return *this;
    }
    [[nodiscard]] std::string result() { return std::move(text_); }

private:
    std::string text_;
};

}  // namespace bench
