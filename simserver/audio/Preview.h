// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

/// @file
/// Previews: texts that a client has spoken before they are played. Plain values.

namespace simserver {

struct RetrievalRequest {
    std::string id;
    std::string language;
    std::string voice;
    std::string rate;  ///< as it arrived
    std::string text;
};

/// A text as a voice of the station speaks it, or the reason of a failure.
struct Preview {
    static constexpr int failed = -1;

    int item = 0;      ///< key of its record
    int port = 0;      ///< of the voice, or `failed`
    std::string uuid;  ///< of the audio; of a failed one the request's id
    std::string text;
    std::string fullName;     ///< of the audio on the server
    std::uintmax_t size = 0;  ///< in bytes
    std::string checksum;     ///< SHA-256
    std::string uri;
    std::string whyFailed;   ///< for people
    bool isDropped = false;  ///< it was kept, and is withdrawn in favour of later ones
};

}  // namespace simserver
