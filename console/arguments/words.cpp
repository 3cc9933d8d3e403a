// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/words.h"

#include <algorithm>
#include <cstring>

#include "console/ExitCode.h"

namespace console {

namespace {

/// Characters without a special meaning in a word.
bool isPlain(char c) {
    const bool isAscii = static_cast<unsigned char>(c) < 0x80;
    const bool isLetterOrDigit =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return !isAscii || isLetterOrDigit || (c != '\0' && std::strchr("_./:,@%+=-", c) != nullptr);
}

}  // namespace

LineScan scanWords(const std::string& line) {
    LineScan scan;
    const auto beginWord = [&scan](std::size_t at) {
        if (!scan.endsInWord) {
            scan.words.emplace_back();
            scan.lastBegin = at;
            scan.endsInWord = true;
        }
    };
    const auto escapes = [&](std::size_t at) {
        const bool beforeSpecial =
            at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == '\\');
        return line[at] == '\\' && (scan.quote == '\0' || (scan.quote == '"' && beforeSpecial));
    };
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (escapes(i)) {
            beginWord(i);
            if (++i == line.size()) {
                scan.endsInBackslash = true;
                break;
            }
            scan.words.back() += line[i];
        } else if (scan.quote != '\0' && c == scan.quote) {
            scan.quote = '\0';
        } else if (scan.quote == '\0' && (c == '"' || c == '\'')) {
            beginWord(i);  // '' is a word too
            scan.quote = c;
        } else if (scan.quote == '\0' && (c == ' ' || c == '\t')) {
            scan.endsInWord = false;
        } else if (scan.quote == '\0' && c == '#' && !scan.endsInWord) {
            scan.endsInComment = true;
            break;
        } else {
            beginWord(i);
            scan.words.back() += c;
        }
    }
    return scan;
}

std::vector<std::string> splitWords(const std::string& line) {
    require(line.find('\0') == std::string::npos, "a NUL character");
    const LineScan scan = scanWords(line);
    require(!scan.endsInBackslash, "nothing follows the backslash at the end");
    require(scan.quote == '\0', std::string("the quote ") + scan.quote + " is not closed");
    return scan.words;
}

std::string quoted(const std::string& text) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), isPlain)) {
        return text;
    }
    const char quote = text.find('\'') == std::string::npos ? '\'' : '"';
    std::string result(1, quote);
    for (const char c : text) {
        if (quote == '"' && (c == '"' || c == '\\')) {
            result += '\\';
        }
        result += c;
    }
    return result + quote;
}

std::string quotedBeginning(const std::string& text) {
    std::string result = text.empty() ? text : quoted(text);
    if (result != text) {
        result.pop_back();  // the quote stays open
    }
    return result;
}

}  // namespace console
