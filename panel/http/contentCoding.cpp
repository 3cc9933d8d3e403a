// SPDX-License-Identifier: Apache-2.0
#include "panel/http/contentCoding.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <zlib.h>

#include "util/AtEnd.h"

namespace papanel {

namespace {

constexpr int gzipFormat = 16 + MAX_WBITS;  // of zlib's functions
constexpr std::size_t longBytes = 4096;

void require(bool holds) {
    if (!holds) {
        throw std::runtime_error("the content cannot be coded");
    }
}

/// What zlib reads, which it does not change.
void setInput(z_stream& stream, std::string_view bytes) {
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
}

bool isText(const std::string& type) {
    return type.compare(0, 5, "text/") == 0 || type.compare(0, 16, "application/json") == 0;
}

}  // namespace

bool takesGzip(const RequestHead& head) {
    bool isAnyTaken = false;
    for (const std::string& word : head.words("accept-encoding")) {
        const std::string coding = word.substr(0, word.find_first_of("; \t"));
        const std::size_t weight = word.find("q=");
        const bool isTaken = weight == std::string::npos ||
                             word.find_first_not_of("0.", weight + 2) != std::string::npos;
        if (coding == "gzip") {
            return isTaken;
        }
        isAnyTaken = isAnyTaken || (coding == "*" && isTaken);
    }
    return isAnyTaken;
}

std::string zipped(std::string_view bytes, int level) {
    constexpr int memory = 8;  // zlib's default
    z_stream stream{};
    require(deflateInit2(&stream, level, Z_DEFLATED, gzipFormat, memory, Z_DEFAULT_STRATEGY) ==
            Z_OK);
    const pautil::AtEnd end([&stream] { deflateEnd(&stream); });
    std::string result(deflateBound(&stream, bytes.size()), '\0');
    setInput(stream, bytes);
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    require(deflate(&stream, Z_FINISH) == Z_STREAM_END);
    result.resize(stream.total_out);
    return result;
}

std::string unzipped(std::string_view bytes) {
    z_stream stream{};
    require(inflateInit2(&stream, gzipFormat) == Z_OK);
    const pautil::AtEnd end([&stream] { inflateEnd(&stream); });
    setInput(stream, bytes);
    std::string result;
    std::array<char, 65536> part{};
    int state = Z_OK;
    while (state == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(part.data());
        stream.avail_out = static_cast<uInt>(part.size());
        state = inflate(&stream, Z_NO_FLUSH);
        result.append(part.data(), part.size() - stream.avail_out);
    }
    require(state == Z_STREAM_END);
    return result;
}

void compress(const RequestHead& head, ApiReply& reply) {
    const auto isCoded = [](const auto& header) {
        return header.first == "Vary" || header.first == "Content-Range";
    };
    if (reply.bytes.size() < longBytes || !isText(reply.contentType) ||
        std::any_of(reply.headers.begin(), reply.headers.end(), isCoded)) {
        return;
    }
    reply.headers.emplace_back("Vary", "Accept-Encoding");
    if (takesGzip(head)) {
        reply.bytes = zipped(reply.bytes, Z_BEST_SPEED);
        reply.headers.emplace_back("Content-Encoding", "gzip");
    }
}

}  // namespace papanel
