// SPDX-License-Identifier: Apache-2.0
#include "fuzz/naiveTexts.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace naive {

Tokens tokens(const std::string& text, char separator, bool markEmpty) {
    Tokens all;
    std::string token;
    bool escaped = false;
    bool inQuotes = false;
    bool quotedToken = false;
    bool lastWasSeparator = false;
    const auto end = [&] {
        all.push_back(markEmpty && token.empty() && !quotedToken ? "<NULL>" : token);
        token.clear();
        quotedToken = false;
        lastWasSeparator = true;
    };
    for (const char c : text) {
        if (c == '\\' && !escaped) {
            escaped = true;
            continue;
        }
        if (c == '"' && !escaped) {
            inQuotes = !inQuotes;
            quotedToken = quotedToken || inQuotes;
            lastWasSeparator = lastWasSeparator || inQuotes;
        } else if (c == separator && !inQuotes && !escaped) {
            end();
        } else if (!token.empty() || (c != ' ' && c != '\t')) {
            token += c;
            lastWasSeparator = false;
        }
        escaped = false;
    }
    if (!token.empty() || lastWasSeparator) {
        end();
    }
    return all;
}

std::string translated(const std::string& text) {
    std::string plain;
    bool escaped = false;
    for (std::size_t i = 1; !text.empty() && text[0] == '"' && i < text.size(); ++i) {
        const char c = text[i];
        if (escaped) {
            plain += c == '"' || c == '\\' ? std::string{c} : std::string{'\\', c};
            escaped = false;
        } else if (c == '\\') {
            escaped = true;
        } else if (c == '"') {
            return i + 1 == text.size() ? plain : text;
        } else {
            plain += c;
        }
    }
    return text;
}

int number(const std::string& text) {
    using Limits = std::numeric_limits<int>;
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp(value, static_cast<long long>(Limits::min()),
                                       static_cast<long long>(Limits::max())));
}

}  // namespace naive
