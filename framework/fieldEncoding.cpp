// SPDX-License-Identifier: Apache-2.0
#include "framework/fieldEncoding.h"

#include <utility>

using namespace pa;

namespace {

bool isEscaped(char c) {
    return c == '"' || c == '\\';
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

void pa::assignDecoded(std::string& out, std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        out = text;
        return;
    }
    out.resize(text.size() - 2);
    char* write = out.data();
    const char* const closingQuote = text.data() + text.size() - 1;
    for (const char* read = text.data() + 1; read != closingQuote; ++read) {
        const bool isEscape = *read == '\\' && isEscaped(read[1]);
        if (isEscape) {
            ++read;
        }
        if (read == closingQuote || (*read == '"' && !isEscape)) {
            out = text;
            return;
        }
        *write++ = *read;
    }
    out.resize(static_cast<std::size_t>(write - out.data()));
}

std::string pa::decoded(std::string_view text) {
    std::string plain;
    assignDecoded(plain, text);
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
