#include "framework/fieldEncoding.h"

#include <utility>

namespace {

bool isEscaped(char c) {
    return c == '"' || c == '\\';
}

/// The plain text of a whole quoted string into `plain`; false when the text is none.
bool readQuoted(const std::string& text, std::string& plain) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        return false;
    }
    const std::size_t end = text.size() - 1;
    for (std::size_t i = 1; i < end; ++i) {
        if (text[i] == '"') {
            return false;
        }
        if (text[i] == '\\' && isEscaped(text[i + 1])) {
            ++i;
            if (i == end) {
                return false;  // the closing quote is itself escaped
            }
        }
        plain += text[i];
    }
    return true;
}

}  // namespace

void prepareElemStringFieldForSvr(std::string& text) {
    std::string prepared;
    prepared.reserve(text.size() + 2);
    prepared += '"';
    for (const char c : text) {
        if (isEscaped(c)) {
            prepared += '\\';
        }
        prepared += c;
    }
    prepared += '"';
    text = std::move(prepared);
}

void translateElemStringFieldFromSvr(std::string& text) {
    std::string plain;
    if (readQuoted(text, plain)) {
        text = std::move(plain);
    }
}
