#pragma once

#include <string>
#include <vector>

#include "console/Context.h"
#include "resource/common/PaSource.h"

namespace console {

/// Prints which zones are attached to a source, and who holds its lock.
void printZones(const Context& context, const PaSource& source);

/// Attaches zones to a source, and prints what is attached then.
/// @param zoneNames names of zones, as the user has given them
/// @param replace   whether those that are attached before are detached
/// @throws Failure when one is unknown, or the server refuses or does not confirm it
void attachZones(const Context& context, const PaSource& source,
                 const std::vector<std::string>& zoneNames, bool replace);

/// Detaches zones from a source, and prints what is attached then.
/// @throws Failure as above, and when one is not attached
void detachZones(const Context& context, const PaSource& source,
                 const std::vector<std::string>& zoneNames);

/// Detaches every zone.
/// @throws Failure as above
void detachAllZones(const Context& context, const PaSource& source);

}  // namespace console
