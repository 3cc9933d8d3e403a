#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/commands/PlayRequest.h"

namespace console {

/// The ids of the zones that are asked for, each once. A value that is a zone is that zone,
/// whatever commas it has; any other is a list.
/// @throws Failure when one is not known
std::vector<std::string> zonesFor(const std::vector<std::string>& values);

/// The first voice, in order of their ports, of the language and the name that are asked for.
/// @throws Failure when there is none, with the languages of a voice that speaks another one
TTSVocalizer voiceFor(const std::optional<std::string>& language,
                      const std::optional<std::string>& name);

/// The message that is asked for, with its voice.
/// @throws Failure when there is no such voice
Message messageFor(const PlayRequest& request);

}  // namespace console
