// SPDX-License-Identifier: Apache-2.0
#include "panel/http/pageReply.h"

#include <algorithm>
#include <utility>

#include "panel/http/ApiError.h"
#include "panel/http/contentCoding.h"

namespace papanel {

namespace {

constexpr std::pair<std::string_view, const char*> types[] = {
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".json", "application/json; charset=utf-8"},
    {".webmanifest", "application/manifest+json"},
};

const char* typeOf(std::string_view path) {
    const std::string_view ending = path.substr(std::min(path.rfind('.'), path.size()));
    for (const auto& [known, type] : types) {
        if (known == ending) {
            return type;
        }
    }
    return "application/octet-stream";
}

}  // namespace

ApiReply pageReply(const RequestHead& head, const std::string& path) {
    const std::string_view wanted = path == "/" ? std::string_view("/index.html") : path;
    const PageFile* const end = pageFiles + pageFileCount;
    const PageFile* const file = std::find_if(
        pageFiles, end, [wanted](const PageFile& each) { return each.path == wanted; });
    if (file == end) {
        throw ApiError(404, "not-found", "there is no such page");
    }
    ApiReply reply;
    const bool isZipped = takesGzip(head);
    const std::string tag = '"' + std::string(file->tag) + (isZipped ? "-gzip\"" : "\"");
    reply.headers = {{"ETag", tag}, {"Cache-Control", "no-cache"}, {"Vary", "Accept-Encoding"}};
    reply.contentType = typeOf(file->path);  // also of a 304: its policy replaces the stored one
    if (head.hasWord("if-none-match", tag)) {
        reply.status = 304;
    } else if (isZipped) {
        reply.bytes = file->zipped;
        reply.headers.emplace_back("Content-Encoding", "gzip");
    } else {
        reply.bytes = unzipped(file->zipped);
    }
    return reply;
}

}  // namespace papanel
