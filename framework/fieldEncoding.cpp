#include "framework/fieldEncoding.h"

#include <algorithm>
#include <utility>

using namespace pa;

namespace {

bool isEscaped(char c) {
    return c == '"' || c == '\\';
}

/// Whether a text is one whole quoted string.
bool isQuoted(const std::string& text) {
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
    }
    return true;
}

}  // namespace

void pa::appendEncoded(std::string& out, std::string_view text, unsigned depth) {
    // Each encoding doubles the backslashes of the one inside and adds one for the character.
    const std::size_t backslashes = (std::size_t{1} << depth) - 1;
    const auto* run = text.begin();
    for (const auto* at = run; at != text.end(); ++at) {
        if (isEscaped(*at)) {
            out.append(run, at).append(backslashes, '\\');
            run = at;
        }
    }
    out.append(run, text.end());
}

void prepareElemStringFieldForSvr(std::string& text) {
    std::string prepared;
    prepared.reserve(text.size() + 2);
    prepared += '"';
    appendEncoded(prepared, text, 1);
    prepared += '"';
    text = std::move(prepared);
}

void translateElemStringFieldFromSvr(std::string& text) {
    if (!isQuoted(text)) {
        return;
    }
    char* write = text.data();
    const char* read = write + 1;
    const char* const end = write + text.size() - 1;
    while (true) {
        const char* const backslash = std::find(read, end, '\\');
        write = std::copy(read, backslash, write);
        if (backslash == end) {
            break;
        }
        read = backslash + (isEscaped(backslash[1]) ? 1 : 0);
        *write++ = *read++;
    }
    text.resize(static_cast<std::size_t>(write - text.data()));
}
