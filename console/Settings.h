#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "console/schedule/scheduleTimes.h"

namespace console {

/// The global options.
struct Settings {
    bool json = false;
    std::filesystem::path scenario;  ///< empty for the default one
    double speed = 1.0;              ///< simulated seconds per real second
    std::optional<double> timeout;   ///< seconds
    std::filesystem::path spool;    ///< where the simulated server keeps uploads; empty: for itself
    std::filesystem::path state;    ///< where it keeps schedules; empty: nowhere
    std::optional<DateTime> clock;  ///< what it is at the station at first; empty: the real time
    long debug = 0;
    std::string script;  ///< a file, "-" for the standard input, empty for none
};

}  // namespace console
