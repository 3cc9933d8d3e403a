#pragma once

#include <string>
#include <utility>
#include <vector>

namespace pa {

/// Takes the tokens out of a list of texts one after the other, by the rules of `splitStr`. A plain
/// value without a lock; the list must outlive it.
class TokenReader {
public:
    TokenReader(const char* text, char separator) : next_(text), separator_(separator) {}

    /// Takes the next token.
    /// @param token replaced, empty when there is none
    /// @return false when there is none
    bool next(std::string& token) {
        token.clear();
        const bool follows = std::exchange(separatorBefore_, false);
        bool inQuotes = false;
        quoted_ = false;
        while (true) {
            const char* const run = next_;
            while (isPlain(*next_) && (inQuotes || *next_ != separator_)) {
                ++next_;
            }
            append(token, run);
            switch (*next_) {
                case '\0':
                    return follows || quoted_ || !token.empty();
                case '"':
                    ++next_;
                    inQuotes = !inQuotes;
                    quoted_ = quoted_ || inQuotes;
                    break;
                case '\\':
                    ++next_;
                    takeLiterally(token);
                    break;
                default:
                    ++next_;
                    separatorBefore_ = true;
                    return true;
            }
        }
    }

    /// Whether the last token has quotes.
    bool wasQuoted() const { return quoted_; }

private:
    static bool isPlain(char c) { return c != '\0' && c != '"' && c != '\\'; }

    /// The character after a backslash.
    void takeLiterally(std::string& token) {
        const char* const literal = next_;
        if (*literal != '\0') {
            ++next_;
            append(token, literal);
        }
    }

    /// Appends the characters from `from` on, without leading blanks and tabs.
    void append(std::string& token, const char* from) const {
        while (token.empty() && from != next_ && (*from == ' ' || *from == '\t')) {
            ++from;
        }
        token.append(from, next_);
    }

    const char* next_;
    char separator_;
    bool separatorBefore_ = false;  // a token follows, even an empty one
    bool quoted_ = false;
};

}  // namespace pa

/// Splits a list of texts at `separator`. Double quotes keep a separator inside a token, a
/// backslash takes the next character literally; both are dropped. Leading blanks and tabs of a
/// token are dropped, even where they are quoted or escaped. May be called from any thread.
/// @param text      the list; an empty one has no tokens, one that ends with the separator has an
///                  empty last token
/// @param separator any character but a double quote and a backslash
/// @param out       cleared first, then receives the tokens
/// @param markEmpty whether an empty token that was not quoted becomes "<NULL>"
/// @return the number of tokens
template <class Container = std::vector<std::string>>
int splitStr(const char* text, char separator, Container& out, bool markEmpty) {
    out.clear();
    pa::TokenReader reader(text, separator);
    std::string token;
    while (reader.next(token)) {
        if (markEmpty && token.empty() && !reader.wasQuoted()) {
            token = "<NULL>";
        }
        out.push_back(std::move(token));
    }
    return static_cast<int>(out.size());
}

namespace pa {

/// The lower-case form of an ASCII letter; every other character as it is, whatever the locale.
constexpr char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace pa
