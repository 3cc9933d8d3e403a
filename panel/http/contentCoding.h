// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "panel/http/RequestHead.h"
#include "panel/http/Route.h"

namespace papanel {

/// Whether the client takes an answer in gzip.
bool takesGzip(const RequestHead& head);

/// @param level of compression, 1 (fast) to 9
std::string zipped(std::string_view bytes, int level);

/// @throws std::runtime_error when the bytes are not in gzip
std::string unzipped(std::string_view bytes);

/// Compresses a long answer of text, if the client takes it. What is compressed already, and a part
/// of an answer, stays as it is.
void compress(const RequestHead& head, ApiReply& reply);

}  // namespace papanel
