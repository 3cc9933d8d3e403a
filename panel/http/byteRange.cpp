// SPDX-License-Identifier: Apache-2.0
#include "panel/http/byteRange.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace papanel {

namespace {

std::optional<std::size_t> numberIn(const std::string& text) {
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

}  // namespace

void applyRange(const RequestHead& head, ApiReply& reply) {
    const std::string range = head.header("range");
    const std::string unit = "bytes=";
    const std::size_t dash = range.find('-');
    reply.headers.emplace_back("Accept-Ranges", "bytes");
    if (reply.status != 200 || head.method != "GET" || !head.header("if-range").empty() ||
        range.compare(0, unit.size(), unit) != 0 || dash == std::string::npos) {
        return;
    }
    const std::size_t size = reply.bytes.size();
    const std::string firstText = range.substr(unit.size(), dash - unit.size());
    const auto first = numberIn(firstText);
    const auto last = numberIn(range.substr(dash + 1));
    const bool isEndOpen = dash + 1 == range.size();
    std::size_t begin = 0;
    std::size_t end = size;  // not of the part any more
    if (first && (isEndOpen || (last && *last >= *first))) {
        begin = *first;
        end = isEndOpen ? size : std::min(size, std::max(*last, *last + 1));
    } else if (firstText.empty() && last) {
        begin = size - std::min(size, *last);
    } else {
        return;
    }
    const std::string total = '/' + std::to_string(size);
    if (begin >= end) {
        reply.status = 416;
        reply.bytes.clear();
        reply.headers.emplace_back("Content-Range", "bytes *" + total);
        return;
    }
    reply.status = 206;
    reply.bytes = reply.bytes.substr(begin, end - begin);
    reply.headers.emplace_back(
        "Content-Range", "bytes " + std::to_string(begin) + '-' + std::to_string(end - 1) + total);
}

}  // namespace papanel
