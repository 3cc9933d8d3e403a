// SPDX-License-Identifier: Apache-2.0
#include "framework/fieldEncoding.h"

#include <utility>

using namespace pa;

namespace {

bool isEscaped(char c) {
    return c == '"' || c == '\\';
}

/// Removes the escapes of a text whose quotes are removed already.
/// @param from there is no escape and no quote before
/// @return false, with an undefined text, when the quotes were not those of one whole text
bool removeEscapes(std::string& text, std::size_t from) {
    char* write = text.data() + from;
    const char* const end = text.data() + text.size();
    for (const char* read = write; read != end; ++read) {
        char c = *read;
        if (c == '"') {
            return false;
        }
        if (c == '\\' && isEscaped(read[1])) {
            c = *++read;
        } else if (c == '\\' && read + 1 == end) {
            return false;  // it escapes the closing quote
        }
        *write++ = c;
    }
    text.resize(static_cast<std::size_t>(write - text.data()));
    return true;
}

}  // namespace

void pa::appendEncoded(std::string& out, std::string_view text, unsigned depth) {
    // Each encoding doubles the backslashes of the one inside and adds one for the character.
    const std::size_t backslashes = (std::size_t{1} << depth) - 1;
    constexpr std::size_t shortest = 16;  // that is searched faster than it is read by characters
    const auto has = [text](char c) { return text.find(c) != std::string_view::npos; };
    if (text.size() >= shortest && !has('"') && !has('\\')) {
        out += text;
        return;
    }
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
    constexpr auto none = std::string_view::npos;
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        out = text;
        return;
    }
    const std::string_view inside = text.substr(1, text.size() - 2);
    const std::size_t plain = inside.find('\\');
    out = inside;
    if (inside.substr(0, plain).find('"') != none ||
        (plain != none && !removeEscapes(out, plain))) {
        out = text;
    }
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
