#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "client/scheduleTimes.h"

namespace console {

/// What a command line may choose: the server and all that the process does, or, on a line of a
/// script or a shell, only what the line itself does.
enum class LineKind { Process, Script, Shell };

/// The global options.
struct Settings {
    bool json = false;
    bool wide = false;               ///< tables are not cut to the terminal
    std::filesystem::path scenario;  ///< empty for the default one
    double speed = 1.0;              ///< simulated seconds per real second
    std::optional<double> timeout;   ///< seconds
    std::filesystem::path spool;  ///< where the simulated server keeps uploads; empty: for itself
    std::filesystem::path state;  ///< where it keeps schedules; empty: nowhere
    std::optional<paclient::DateTime>
        clock;  ///< what it is at the station at first; empty: the real time
    long debug = 0;
    std::filesystem::path script;  ///< a file, "-" for the standard input, empty for none
};

}  // namespace console
