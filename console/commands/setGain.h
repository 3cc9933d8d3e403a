#pragma once

#include <functional>
#include <string>

#include "console/following/operate.h"

namespace console {

/// A gain that the server is to set.
struct GainRequest {
    std::string what;             ///< as in "sink 3"
    pa::OperationType operation;  ///< under which the server refuses it
    double level;                 ///< dB
    bool isFlagged;               ///< whether the server is told more than the level
};

/// Has the server set a gain.
/// @param current the gain that the server reports now
/// @return a sentence that says so
/// @throws Failure when the server refuses, or does not confirm it
std::string setGain(const Context& context, const GainRequest& gain,
                    const std::function<double()>& current, const std::function<void()>& send);

}  // namespace console
