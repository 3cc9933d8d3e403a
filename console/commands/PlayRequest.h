#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/arguments/Parser.h"
#include "sdk/Message.h"

namespace console {

/// What `play` is asked for: the values of its options.
struct PlayRequest {
    std::vector<std::string> zones;

    // What is heard: one of these three.
    std::vector<unsigned> items;
    std::vector<std::string> texts;
    std::optional<std::string> language;  // of the texts
    std::optional<std::string> voice;
    std::optional<std::string> file;

    // What is shown.
    std::optional<std::string> display;  // name of the template
    std::vector<std::string> variables;  // KEY=TEXT
    int validity = 30;                   // seconds

    int priority = 500;
    bool relative = false;
    int preChime = 0;
    int postChime = 0;
    std::optional<double> gain;  // dB
    int repeat = 1;
    std::optional<std::string> requestId;
    bool wait = false;
};

/// Adds the options to a parser, which then fills in `request`.
void addPlayOptions(Parser& parser, PlayRequest& request);

/// Looks, as far as that is possible without the server, whether the request can be sent as it
/// stands.
/// @throws Failure when something is missing, or would reach the server as something else than what
///         it is
void check(const PlayRequest& request);

/// The display variables by key. A key that is given several times has several values.
/// @throws Failure when one is not KEY=TEXT, or cannot be sent
Message::DisplayVariables displayVariables(const PlayRequest& request);

/// How many records the server will keep for the request: one for each part, but for a text that is
/// shown without an end of its validity.
std::size_t trackedParts(const PlayRequest& request);

}  // namespace console
