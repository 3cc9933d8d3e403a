#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "console/Context.h"
#include "console/text/records.h"

namespace console {

/// When to stop; without either the user interrupts.
struct LevelLimits {
    std::optional<int> count;       ///< readings
    std::optional<double> seconds;  ///< since the start
};

/// Shows what the level meter of a source's amplifier element says: a bar on a terminal, else a
/// line for each reading. The feed ends with it.
/// @throws Failure when no reading comes in time, or the user interrupts
void showLevel(const Context& context, const PaSource& source, const LevelLimits& limits);

/// A bar of at most `columns` columns for a level: empty at -60 dB and below, full at 0 dB and
/// above.
std::string levelBar(double level, std::size_t columns);

}  // namespace console
