#include "framework/fieldEncoding.h"

#include <cstring>
#include <utility>

using namespace pa;

namespace {

bool isEscaped(char c) {
    return c == '"' || c == '\\';
}

/// The unescaped double quote, or the end of the text.
const char* closingQuote(const char* text, const char* end, bool& hasEscapes) {
    for (; text != end && *text != '"'; ++text) {
        if (*text == '\\' && isEscaped(text[1])) {
            hasEscapes = true;
            ++text;
        }
    }
    return text;
}

/// Undoes one encoding, without moving what follows the first quote.
/// @param size of the text; then of the plain text
/// @return where the plain text begins
char* decode(char* text, std::size_t& size) {
    const char* const end = text + size;
    bool hasEscapes = false;
    if (size < 2 || *text != '"' || closingQuote(text + 1, end, hasEscapes) != end - 1) {
        return text;
    }
    char* const plain = text + 1;
    char* write = plain + (size - 2);
    if (hasEscapes) {
        write = plain;
        for (const char* read = plain; read != end - 1; ++read) {
            if (*read == '\\' && isEscaped(read[1])) {
                ++read;
            }
            *write++ = *read;
        }
    }
    *write = '\0';
    size = static_cast<std::size_t>(write - plain);
    return plain;
}

}  // namespace

void pa::appendEncoded(std::string& out, std::string_view text, unsigned depth) {
    // Each encoding doubles the backslashes of the one inside and adds one for the character.
    const std::size_t backslashes = (std::size_t{1} << depth) - 1;
    const char* run = text.data();
    const char* const end = run + text.size();
    for (const char* at = run; at != end; ++at) {
        if (isEscaped(*at)) {
            out.append(run, static_cast<std::size_t>(at - run)).append(backslashes, '\\');
            run = at;
        }
    }
    out.append(run, static_cast<std::size_t>(end - run));
}

void prepareElemStringFieldForSvr(std::string& text) {
    std::string prepared;
    prepared.reserve(text.size() + 2);
    prepared += '"';
    appendEncoded(prepared, text, 1);
    prepared += '"';
    text = std::move(prepared);
}

void pa::assignTranslated(std::string& out, std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        out = text;
        return;
    }
    out.clear();
    const char* run = text.data() + 1;
    const char* const closingQuote = text.data() + text.size() - 1;
    for (const char* at = run; at != closingQuote; ++at) {
        const bool isEscape = *at == '\\' && isEscaped(at[1]);
        if (isEscape) {
            out.append(run, static_cast<std::size_t>(at - run));
            run = ++at;
        }
        if (at == closingQuote || (*at == '"' && !isEscape)) {
            out = text;
            return;
        }
    }
    out.append(run, static_cast<std::size_t>(closingQuote - run));
}

char* pa::decodeInPlace(char* text) {
    std::size_t size = std::strlen(text);
    return decode(text, size);
}

void translateElemStringFieldFromSvr(std::string& text) {
    std::size_t size = text.size();
    const auto start = static_cast<std::size_t>(decode(text.data(), size) - text.data());
    if (start > 0) {
        text.resize(start + size);
        text.erase(0, start);
    }
}
