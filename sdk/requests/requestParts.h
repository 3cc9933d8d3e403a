#pragma once

#include <string>

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
    return payload.separator(',').flag(first).separator(',').flag(second);
}

/// The origin of a request: this device's address, or on an indirect connection a number.
inline std::string originText(long long numberWhenIndirect) {
    return load(gIndirectCXSConnection) ? Payload().number(numberWhenIndirect).text()
                                        : gDeviceIPAddress;
}

/// A text to be spoken: language^voice^rate^text, prepared as a whole
/// @param rate in Hz
inline void appendSpoken(Payload& payload, const TTSVocalizer& spoken, int rate) {
    Payload entry;
    entry.plain(spoken.language)
        .separator('^')
        .plain(spoken.voice)
        .separator('^')
        .number(rate)
        .separator('^')
        .prepared(spoken.text);
    payload.prepared(entry.text());
}

}  // namespace pa
