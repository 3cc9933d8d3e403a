// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "sdk/Message.h"
#include "sdk/globals.h"
#include "sdk/requests/Payload.h"

/// @file
/// The common parts of requests.

namespace pa {

// id,level,flag,flag
inline Payload gainPayload(int id, double level, bool first, bool second) {
    Payload payload;
    payload.number(id).separator(',').level(level);
    payload.separator(',').flag(first).separator(',').flag(second);
    return payload;
}

/// Larger than most requests with parts.
constexpr std::size_t usualRequestSize = 512;

/// The origin of a request: this device's address, or on an indirect connection a number.
/// Asked for once for each request: both of its parts have the same.
inline std::string originText(long long numberWhenIndirect) {
    return load(gIndirectCXSConnection) ? std::to_string(numberWhenIndirect) : gDeviceIPAddress;
}

/// A text to be spoken: language^voice^rate^text, prepared as a whole
/// @param rate in Hz
inline void appendSpoken(Payload& payload, const TTSVocalizer& spoken, int rate) {
    payload.nested([&](Payload& entry) {
        entry.plain(spoken.language).separator('^').plain(spoken.voice).separator('^');
        entry.number(rate).separator('^').prepared(spoken.text);
    });
}

}  // namespace pa
