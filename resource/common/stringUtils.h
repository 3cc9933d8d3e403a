#pragma once

#include <string>
#include <vector>

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
    std::string token;
    bool escaped = false;
    bool inQuotes = false;
    bool quotedToken = false;
    bool lastWasSeparator = false;
    const auto endToken = [&] {
        out.push_back(markEmpty && token.empty() && !quotedToken ? std::string("<NULL>") : token);
    };

    for (; *text != '\0'; ++text) {
        const char c = *text;
        if (c == '\\' && !escaped) {
            escaped = true;
        } else if (c == '"' && !escaped) {
            inQuotes = !inQuotes;
            if (inQuotes) {
                lastWasSeparator = true;
                quotedToken = true;
            }
        } else if (c == separator && !inQuotes && !escaped) {
            endToken();
            token.clear();
            quotedToken = false;
            lastWasSeparator = true;
        } else {
            if (!token.empty() || (c != ' ' && c != '\t')) {
                token += c;
                lastWasSeparator = false;
            }
            escaped = false;
        }
    }
    if (!token.empty() || lastWasSeparator) {
        endToken();
    }
    return static_cast<int>(out.size());
}

namespace pa {

/// The lower-case form of an ASCII letter; every other character as it is, whatever the locale.
constexpr char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace pa
