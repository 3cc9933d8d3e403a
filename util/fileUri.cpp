// SPDX-License-Identifier: Apache-2.0
#include "util/fileUri.h"

#include <charconv>
#include <strings.h>

namespace pautil {

namespace {

constexpr std::size_t escapeLength = 3;  // %XX

/// The byte of the escape at a place; 0 when there is no escape of a byte that a path may have.
unsigned char escapedByte(const std::string& uri, std::size_t at) {
    unsigned char byte = 0;
    const char* const first = uri.data() + at + 1;
    const char* const last = first + escapeLength - 1;
    constexpr int hexadecimal = 16;
    const bool isWhole = at + escapeLength <= uri.size() &&
                         std::from_chars(first, last, byte, hexadecimal).ptr == last;
    return isWhole ? byte : static_cast<unsigned char>(0);
}

/// Where the path begins: at its first slash.
std::size_t beginOfPath(const std::string& uri) {
    // The longest first: each begins with the later ones. Letter case is of no meaning.
    for (const std::string start : {"file://localhost/", "file:///", "file:/"}) {
        if (strncasecmp(uri.c_str(), start.c_str(), start.size()) == 0) {
            return start.size() - 1;
        }
    }
    return std::string::npos;
}

}  // namespace

std::optional<std::filesystem::path> pathOfFileUri(const std::string& uri) {
    std::size_t at = beginOfPath(uri);
    if (at == std::string::npos || uri.compare(at, 2, "//") == 0) {
        return std::nullopt;
    }
    std::string path;
    while (at < uri.size()) {
        if (uri[at] != '%') {
            path += uri[at++];
            continue;
        }
        const unsigned char byte = escapedByte(uri, at);
        if (byte == 0) {
            return std::nullopt;
        }
        path += static_cast<char>(byte);
        at += escapeLength;
    }
    return path;
}

}  // namespace pautil
