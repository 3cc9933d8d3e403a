// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

#include "framework/clock.h"
#include "sdk/globals.h"

namespace pa {

/// Waits for an answer of the server: calls `answer` every 50 ms until its result is true.
/// @param sent when the request was sent
/// @return the result of `answer`; false, or nothing, after `gMaxServerWaitTimeSeconds`
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
