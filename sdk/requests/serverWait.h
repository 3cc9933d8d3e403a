#pragma once

#include <ctime>

#include "framework/clock.h"
#include "sdk/globals.h"

namespace pa {

/// Polls for what the server was asked: calls `answer` every 50 ms until it gives something true.
/// @param sent when the server was asked
/// @return what `answer` gave; false, or nothing, after `gMaxServerWaitTimeSeconds`
template <class Answer>
auto waitForServer(std::time_t sent, Answer answer) -> decltype(answer()) {
    constexpr int pollMS = 50;
    const int limit = load(gMaxServerWaitTimeSeconds);
    while (std::difftime(wallClock(), sent) < limit) {
        if (const auto given = answer()) {
            return given;
        }
        sleepMS(pollMS);
    }
    return {};
}

}  // namespace pa
