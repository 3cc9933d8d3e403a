// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sdk/Message.h"

namespace paoperating {

/// The audio part that is asked for: items, texts or a file.
struct AudioRequest {
    std::vector<unsigned> items;
    std::optional<int> repeat;  // of the items
    std::vector<std::string> texts;
    std::optional<std::string> language;  // of the texts
    std::optional<std::string> voice;
    std::optional<std::string> file;
};

/// An announcement that an operator asks for.
struct PlayRequest {
    std::vector<std::string> zones;

    // The audio part: one of these.
    AudioRequest audio;                    // the file is one to upload
    std::optional<std::string> recording;  // at the server

    // The visual part.
    std::optional<std::string> display;                          // name of the template
    std::vector<std::pair<std::string, std::string>> variables;  // key and text
    int validity = 30;                                           // seconds

    int priority = 500;
    bool relative = false;
    int preChime = 0;
    int postChime = 0;
    std::optional<double> gain;  // dB
    std::optional<std::string> requestId;
};

/// Limits of the gain of an announcement, in dB.
constexpr double greatestPlayGain = 1000;

/// Whether it has an audio part.
bool isAudible(const PlayRequest& request);

/// Checks the request, as far as that is possible without the server.
/// @throws std::invalid_argument when something is missing, contradicts itself, or would reach the
///         server as something else than what it is; pautil::FileError for a file that cannot be
///         played
void check(const PlayRequest& request);

/// The message that is asked for, with its voice.
/// @param request one that is checked
/// @throws paclient::LookupError when there is no such voice
Message messageFor(const PlayRequest& request);

}  // namespace paoperating
