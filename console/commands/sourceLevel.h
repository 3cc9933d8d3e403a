#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "client/resources.h"
#include "console/commands/devices.h"

namespace console {

/// Shows the level of a source's amplifier element: a bar on a terminal, else a line for each
/// reading. The feed ends with it. Without a limit the user interrupts.
struct SourceLevel : Named<paclient::sources> {
    std::optional<int> count;       ///< readings
    std::optional<double> seconds;  ///< since the start

    void define(CLI::App& app);
    void run(const Context& context) const;
};

/// A bar of at most `columns` columns for a level: empty at -60 dB and below, full at 0 dB and
/// above.
std::string levelBar(double level, std::size_t columns);

}  // namespace console
