// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/arguments/options.h"
#include "sdk/Message.h"

namespace console {

/// What `play` is asked for: the values of its options.
struct PlayRequest {
    std::vector<std::string> zones;

    // The audio part: one of these.
    AudioRequest audio;                    // the file is one to upload
    std::optional<std::string> recording;  // at the server

    // The visual part.
    std::optional<std::string> display;  // name of the template
    std::vector<std::string> variables;  // KEY=TEXT
    int validity = 30;                   // seconds

    int priority = 500;
    bool relative = false;
    int preChime = 0;
    int postChime = 0;
    std::optional<double> gain;  // dB
    std::optional<std::string> requestId;
    bool wait = false;
    bool dryRun = false;
};

/// The server's folder for uploads and recordings.
constexpr const char* serverFolder = "/home/quillon/tmp/";

/// The path of a recording at the server: a bare name is in the server's folder.
/// @throws Failure for what cannot be one
std::string serverPath(const std::string& path);

/// A text that is sent as it is, in a list.
/// @throws Failure for one that would end there
void requireListable(const std::string& kind, const std::string& text);

/// Adds the options to a command, which then fills in `request`.
void addPlayOptions(CLI::App& app, PlayRequest& request);

/// Checks the request, as far as that is possible without the server.
/// @throws Failure when something is missing, or would reach the server as something else than what
///         it is
void check(const PlayRequest& request);

/// The key and the text of KEY=TEXT.
/// @param form what messages call it: "KEY=TEXT"
/// @throws Failure that names the option when it is another text
std::pair<std::string, std::string> splitVariable(const std::string& option,
                                                  const std::string& variable, const char* form);

/// @param what as in "the text"
/// @throws Failure
void requireUtf8(const std::string& what, const std::string& text);

/// The message that is asked for, with its voice.
/// @throws paclient::LookupError when there is no such voice
Message messageFor(const PlayRequest& request);

}  // namespace console
