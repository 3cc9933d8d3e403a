// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "link/mqtt/MalformedMessage.h"

/// @file
/// The messages of an upload on the broker, docs/link-protocol.md.

namespace palink {

/// The most bytes of a file in one message.
inline constexpr std::size_t maxUploadBytes = std::size_t{64} << 10U;

/// How many messages with data may be without an answer.
inline constexpr int maxUploadMessages = 8;

/// What a client wants to upload.
struct UploadBegin {
    std::string name;  ///< on the server
    std::int64_t size = 0;
    std::string sha256;  ///< 64 hexadecimal digits in lower case
};

/// The result in an accepted answer.
struct UploadProgress {
    bool stored = false;
    std::int64_t offset = 0;  ///< what the server has, as long as the file is not stored
};

std::string encodeUploadBegin(const UploadBegin& begin);
std::string encodeUploadProgress(const UploadProgress& progress);

/// @name Reading
/// @throws MalformedMessage
/// @{
UploadBegin decodeUploadBegin(std::string_view payload);
UploadProgress decodeUploadProgress(std::string_view result);
/// @}

}  // namespace palink
