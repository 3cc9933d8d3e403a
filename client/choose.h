// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "../sdk/Message.h"

/// @file
/// Zones and voices by what people call them, found as `findName` does. May be used from any
/// thread; takes the controller's mutex.

namespace paclient {

/// The ids of zones, each once. A value that is a zone is that zone, whatever commas it has; any
/// other is a list with commas between.
/// @throws NotFound, Ambiguous
PA_API std::vector<std::string> chooseZones(const std::vector<std::string>& values);

/// The first voice, in order of their ports, of the language and the name that are asked for.
/// @throws NotFound, Ambiguous; for a voice that speaks other languages, with these
PA_API TTSVocalizer chooseVoice(const std::optional<std::string>& language,
                                const std::optional<std::string>& name);

}  // namespace paclient
