// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "console/arguments/options.h"
#include "operating/PlayRequest.h"

namespace console {

/// What `play` is asked for: the values of its options.
struct PlayOptions : paoperating::PlayRequest {
    std::vector<std::string> keyTexts;  // the variables, as KEY=TEXT
    bool wait = false;
    bool dryRun = false;
};

/// Adds the options to a command, which then fills in `options`.
void addPlayOptions(CLI::App& app, PlayOptions& options);

/// The request, as far as it can be checked without the server.
/// @throws Failure, and what `paoperating::check` throws
paoperating::PlayRequest checkedRequest(const PlayOptions& options);

/// The key and the text of KEY=TEXT.
/// @param form what messages call it: "KEY=TEXT"
/// @throws Failure that names the option when it is another text
std::pair<std::string, std::string> splitVariable(const std::string& option,
                                                  const std::string& variable, const char* form);

}  // namespace console
