#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "console/Context.h"
#include "resource/common/PaSource.h"

namespace console {

/// When to stop; without either the user interrupts.
struct LevelLimits {
    std::optional<int> count;       ///< readings
    std::optional<double> seconds;  ///< since the start
};

/// Shows the level of a source's amplifier element: a bar on a terminal, else a
/// line for each reading. The feed ends with it.
/// @throws Failure when no reading comes in time, or the user interrupts
void showLevel(const Context& context, const PaSource& source, const LevelLimits& limits);

/// A bar of at most `columns` columns for a level: empty at -60 dB and below, full at 0 dB and
/// above.
std::string levelBar(double level, std::size_t columns);

}  // namespace console
