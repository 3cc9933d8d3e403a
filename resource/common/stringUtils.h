// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

namespace pa {

/// Takes the tokens out of a list one after the other, by the rules of `splitStr`, without a copy:
/// each is written over its own part of the list. A plain value without a lock.
class TokenReader {
public:
    /// @param list outlives the tokens
    TokenReader(char* list, char separator) : read_(list), separator_(separator) {}

    /// Takes the next token. Leaves the list as it is when there is none.
    /// @return the token, null when there is none
    char* next() {
        const char separator = separator_;
        char* read = read_;
        while (isBlank(*read) && *read != separator) {
            ++read;
        }
        char* const token = read;
        while (*read != separator && !marked[static_cast<unsigned char>(*read)]) {
            ++read;
        }
        char* end = read;  // only what is quoted or escaped, and what follows it, moves
        bool inQuotes = false;
        quoted_ = false;
        for (char c = *read; c != '\0' && (c != separator || inQuotes); c = *++read) {
            if (c == '"') {
                inQuotes = !inQuotes;
                quoted_ = true;
                continue;
            }
            if (c == '\\') {
                c = *++read;
                if (c == '\0') {
                    break;
                }
            }
            if (end != token || !isBlank(c)) {
                *end++ = c;
            }
        }
        const bool isLast = *read == '\0';
        if (isLast && !separatorBefore_ && !quoted_ && end == token) {
            return nullptr;
        }
        *end = '\0';
        size_ = static_cast<std::size_t>(end - token);
        separatorBefore_ = !isLast;
        read_ = isLast ? read : read + 1;
        return token;
    }

    /// The length of the last token.
    std::size_t size() const { return size_; }

    /// Whether the last token had quotes.
    bool wasQuoted() const { return quoted_; }

private:
    static bool isBlank(char c) { return c == ' ' || c == '\t'; }

    /// The characters that end the plain beginning of a token, apart from the separator.
    static constexpr auto marked = [] {
        std::array<bool, 256> characters{};
        characters['"'] = characters['\\'] = characters['\0'] = true;
        return characters;
    }();

    char* read_;
    char separator_;
    std::size_t size_ = 0;
    bool separatorBefore_ = false;  // a token follows, even an empty one
    bool quoted_ = false;
};

/// Replaces the texts of `out`, in their memory, by every token that follows.
/// @param markEmpty as of `splitStr`
template <class Container>
void assignTokens(TokenReader tokens, Container& out, bool markEmpty = false) {
    auto place = out.begin();
    while (const char* const token = tokens.next()) {
        if (place == out.end()) {
            out.emplace_back();
            place = std::prev(out.end());
        }
        if (markEmpty && tokens.size() == 0 && !tokens.wasQuoted()) {
            *place = "<NULL>";
        } else {
            place->assign(token, tokens.size());
        }
        ++place;
    }
    out.erase(place, out.end());
}

}  // namespace pa

/// Splits a list of texts at `separator`. Double quotes keep a separator inside a token, a
/// backslash takes the next character literally; both are dropped. Leading blanks and tabs of a
/// token are dropped, even where they are quoted or escaped. May be called from any thread.
/// @param text      the list; an empty one has no tokens, one that ends with the separator has an
///                  empty last token
/// @param separator any character but a double quote and a backslash
/// @param out       receives the tokens in place of what it has
/// @param markEmpty whether an empty token that was not quoted becomes "<NULL>"
/// @return the number of tokens
template <class Container = std::vector<std::string>>
int splitStr(const char* text, char separator, Container& out, bool markEmpty) {
    std::string list = text;
    pa::assignTokens(pa::TokenReader(list.data(), separator), out, markEmpty);
    return static_cast<int>(out.size());
}

namespace pa {

/// The lower-case form of an ASCII letter; every other character as it is, whatever the locale.
constexpr char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace pa
