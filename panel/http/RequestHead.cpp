// SPDX-License-Identifier: Apache-2.0
#include "panel/http/RequestHead.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "panel/http/ApiError.h"

namespace papanel {

namespace {

constexpr std::size_t maxHeaders = 100;
constexpr std::size_t maxLengthDigits = 18;

[[noreturn]] void refuse(const std::string& text) {
    throw ApiError(400, "bad-request", text);
}

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char letter) { return lowered(letter); });
    return result;
}

/// A name of a method or a header.
bool isToken(std::string_view text) {
    const auto isTokenCharacter = [](char letter) {
        const bool isAlphanumeric =
            (letter >= '0' && letter <= '9') || (lowered(letter) >= 'a' && lowered(letter) <= 'z');
        return isAlphanumeric || (letter != '\0' && std::strchr("!#$%&'*+-.^_`|~", letter));
    };
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

bool isControl(char letter) {
    return (letter >= '\0' && letter < ' ' && letter != '\t') || letter == '\x7f';
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

void parseRequestLine(std::string_view line, RequestHead& head) {
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == std::string_view::npos || first == last) {
        refuse("the request line is malformed");
    }
    head.method = line.substr(0, first);
    head.target = line.substr(first + 1, last - first - 1);
    const std::string_view version = line.substr(last + 1);
    const bool isVisible = std::all_of(head.target.begin(), head.target.end(),
                                       [](char letter) { return letter > ' ' && letter < '\x7f'; });
    if (!isToken(head.method) || head.target.front() != '/' || !isVisible) {
        refuse("the request line is malformed");
    }
    if (version != "HTTP/1.1" && version != "HTTP/1.0") {
        refuse("the version of HTTP is not supported");
    }
    head.isOldVersion = version == "HTTP/1.0";
}

void parseHeader(std::string_view line, RequestHead& head) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !isToken(line.substr(0, colon)) ||
        std::any_of(line.begin(), line.end(), isControl)) {
        refuse("a header is malformed");
    }
    head.headers.emplace(lowered(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
    if (head.headers.size() > maxHeaders) {
        refuse("there are too many headers");
    }
}

std::size_t lengthOf(const std::string& text) {
    std::size_t length = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, length);
    if (text.size() > maxLengthDigits || error != std::errc() || stop != end) {
        refuse("the length of the body is malformed");
    }
    return length;
}

}  // namespace

std::string RequestHead::header(const std::string& name) const {
    const auto found = headers.lower_bound(name);
    return found == headers.end() || found->first != name ? std::string() : found->second;
}

std::string RequestHead::joined(const std::string& name) const {
    const auto [first, last] = headers.equal_range(name);
    std::string result;
    for (auto header = first; header != last; ++header) {
        result += (header == first ? "" : ",") + header->second;
    }
    return result;
}

std::vector<std::string> RequestHead::words(const std::string& name) const {
    const std::string list = joined(name) + ',';
    std::vector<std::string> result;
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t comma = list.find(',', at);
        result.push_back(lowered(trimmed(std::string_view(list).substr(at, comma - at))));
        at = comma + 1;
    }
    return result;
}

bool RequestHead::hasWord(const std::string& name, const std::string& word) const {
    const auto all = words(name);
    return std::find(all.begin(), all.end(), word) != all.end();
}

bool RequestHead::isOfType(std::string_view type) const {
    const std::string given = header("content-type");
    return lowered(trimmed(std::string_view(given).substr(0, given.find(';')))) == type;
}

RequestHead parseHead(std::string_view text) {
    RequestHead head;
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find("\r\n"), text.size());
        const std::string_view line = text.substr(0, end);
        isFirst ? parseRequestLine(line, head) : parseHeader(line, head);
        isFirst = false;
        text.remove_prefix(std::min(end + 2, text.size()));
    }
    if (isFirst) {
        refuse("the request is empty");
    }
    const std::size_t hosts = head.headers.count("host");
    if (hosts > 1 || (hosts == 0 && !head.isOldVersion)) {
        refuse("one host must be named");
    }
    if (head.headers.count("transfer-encoding") != 0) {
        refuse("a body must have a length");
    }
    if (head.headers.count("content-length") > 1) {
        refuse("the body has two lengths");
    }
    if (head.headers.count("content-length") == 1) {
        head.contentLength = lengthOf(head.header("content-length"));
    }
    return head;
}

}  // namespace papanel
