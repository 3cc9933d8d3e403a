// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "simserver/playback/PartType.h"

/// @file
/// The decoded payloads of play and cancel operations. Plain values.

namespace simserver {

struct RecordedContent {
    int originId = 0;  ///< number of the server that holds it; in a schedule, of a source
    std::string path;  ///< as the server sees it
};
struct DictionaryContent {
    std::vector<unsigned> items;
    int repeats = 1;  ///< 0 for endless
};
struct TextContent {
    std::string text;
};
struct SpokenText {
    std::string language;
    std::string voice;
    int rate = 0;  ///< Hz
    std::string text;
};
struct SpokenContent {
    std::vector<SpokenText> texts;
};
struct TemplateContent {
    std::string json;   ///< compact, empty for a template without variables
    int validity = -1;  ///< seconds; negative: until cancelled or replaced
};
/// What an open source picks up.
struct LiveContent {
    int sourceId = 0;
};
using Content = std::variant<RecordedContent, DictionaryContent, TextContent, SpokenContent,
                             TemplateContent, LiveContent>;

/// An audio part or a visual part.
struct RequestPart {
    const PartType* type = nullptr;
    std::string origin;
    std::vector<std::string> zones;
    Content content;
    std::optional<double> gain;  ///< dB
    int preChime = 0;            ///< dictionary item, 0 for none
    int postChime = 0;
    std::string whyNot{};  ///< why the station cannot play it, empty when it can
};

struct RequestToPlay {
    std::string id;  ///< empty when the client leaves it to the server
    bool relative = false;
    int level = 0;  ///< as given, in the mode above
    std::vector<RequestPart> parts;
};

/// Names either a request or a type.
struct CancelRequest {
    std::string id;
    const PartType* type = nullptr;
};

}  // namespace simserver
