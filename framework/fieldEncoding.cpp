#include "framework/fieldEncoding.h"

#include <utility>

using namespace pa;

namespace {

bool isEscaped(char c) {
    return c == '"' || c == '\\';
}

/// The plain text of a whole quoted string into `plain`; false when the text is none.
bool readQuoted(std::string_view text, std::string& plain) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        return false;
    }
    plain.resize(text.size() - 2);
    char* write = plain.data();
    const char* const end = text.data() + text.size() - 1;
    for (const char* read = text.data() + 1; read != end; ++read) {
        if (*read == '"') {
            return false;
        }
        if (*read == '\\' && isEscaped(read[1])) {
            ++read;
            if (read == end) {
                return false;  // the closing quote is itself escaped
            }
        }
        *write++ = *read;
    }
    plain.resize(static_cast<std::size_t>(write - plain.data()));
    return true;
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

std::string pa::decoded(std::string_view text) {
    std::string plain;
    if (!readQuoted(text, plain)) {
        plain = text;
    }
    return plain;
}

void translateElemStringFieldFromSvr(std::string& text) {
    const bool hasEscapes = text.find('\\') != std::string::npos;
    if (!hasEscapes && text.size() >= 2 && text[0] == '"' && text.find('"', 1) == text.size() - 1) {
        text.pop_back();
        text.erase(0, 1);
    } else if (hasEscapes) {
        text = decoded(text);
    }
}
