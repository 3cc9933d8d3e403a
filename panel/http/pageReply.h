// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "panel/http/HttpConnection.h"

namespace papanel {

/// A file of the page, which is a part of the program.
struct PageFile {
    std::string_view path;    ///< from the root, "/views/board.js"
    std::string_view tag;     ///< of the content
    std::string_view zipped;  ///< the content in gzip
};

/// The files, in order of their paths.
extern const PageFile pageFiles[];
extern const std::size_t pageFileCount;

/// The file that a path names, "/" as "/index.html"; not sent again when the browser has it.
/// @throws ApiError 404
ApiReply pageReply(const RequestHead& head, const std::string& path);

}  // namespace papanel
