// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "simserver/protocol/Refused.h"
#include "simserver/station/Station.h"

namespace simserver {

/// The element of a list with an id.
/// @param what its kind, for the refusal
/// @throws Refused when there is none
template <class Thing>
Thing& byId(std::vector<Thing>& things, int id, const char* what) {
    const auto found = std::find_if(things.begin(), things.end(),
                                    [id](const Thing& thing) { return thing.id == id; });
    if (found == things.end()) {
        throw Refused("there is no " + std::string(what) + " " + std::to_string(id));
    }
    return *found;
}

/// The voice of a station with this language, name and rate.
/// @throws Refused when there is none
inline const Voice& voiceOf(const Station& station, const std::string& language,
                            const std::string& name, int rate) {
    const auto& voices = station.voices;
    const auto found = std::find_if(voices.begin(), voices.end(), [&](const Voice& voice) {
        return voice.language == language && voice.voice == name && voice.rate == rate;
    });
    if (found == voices.end()) {
        throw Refused("no voice \"" + name + "\" for language \"" + language + "\" at " +
                      std::to_string(rate) + " Hz");
    }
    return *found;
}

}  // namespace simserver
