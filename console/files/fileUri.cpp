#include "console/files/fileUri.h"

#include <charconv>

#include "client/letterCase.h"
#include "console/ExitCode.h"

namespace console {

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

Failure noFileHere(const std::string& uri) {
    return Failure(ExitCode::Refused,
                   "the server keeps the audio at '" + uri + "', which is no file here");
}

}  // namespace

std::filesystem::path pathOfFileUri(const std::string& uri) {
    std::size_t at = std::string::npos;
    // The longest first: each begins with the later ones.
    for (const std::string start : {"file://localhost/", "file:///", "file:/"}) {
        if (paclient::lowered(uri).compare(0, start.size(), start) == 0) {
            at = start.size() - 1;  // the slash belongs to the path
            break;
        }
    }
    if (at == std::string::npos || uri.compare(at, 2, "//") == 0) {
        throw noFileHere(uri);
    }
    std::string path;
    while (at < uri.size()) {
        if (uri[at] != '%') {
            path += uri[at++];
            continue;
        }
        const unsigned char byte = escapedByte(uri, at);
        if (byte == 0) {
            throw noFileHere(uri);
        }
        path += static_cast<char>(byte);
        at += escapeLength;
    }
    return path;
}

}  // namespace console
