// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "operating/PlayRequest.h"
#include "panel/Services.h"
#include "panel/api/AudioStore.h"
#include "panel/http/Route.h"

namespace papanel {

/// What is asked for, with what it plays.
struct AskedAnnouncement {
    paoperating::PlayRequest play;
    std::optional<std::string> upload;  // its id
    AudioStore::AudioPtr audio;         // of that id
    std::vector<std::string> zones;
    Message message;
};

/// The announcement that a body asks for, checked, with its zones and its voice as the server calls
/// them.
/// @throws ApiError, and what `errorOf` knows
AskedAnnouncement askedAnnouncement(Services& services, const ApiRequest& request);

}  // namespace papanel
