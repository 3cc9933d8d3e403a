#pragma once

#include <string>
#include <vector>

#include "console/PlayRequest.h"

namespace console {

/// The ids of the zones that are asked for, each once. A value that is a zone is that zone,
/// whatever commas it has; any other is a list.
/// @throws Failure when one is not known
std::vector<std::string> zonesFor(const PlayRequest& request);

/// The message that is asked for, with the first voice, in order of their ports, of the language
/// and the name that are asked for.
/// @throws Failure when there is no such voice
Message messageFor(const PlayRequest& request, const std::string& requestId);

}  // namespace console
