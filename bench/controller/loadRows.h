// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/controller/cases.h"
#include "bench/loadFixture.h"

/// @file
/// Rows of what is measured once, with real pauses, and has nothing to be compared with but what is
/// wanted.

namespace bench {

using Rows = std::vector<ResultRow>;

inline ResultRow rowOnce(const std::string& what, const char* unit, double value,
                         double wantedMost = 0) {
    ResultRow row{what, unit, {{value}}, {}};
    row.wantedMost = wantedMost;
    return row;
}

inline double inMS(load::Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// How long it takes until something that was begun has had its effect.
/// @throws std::runtime_error when that takes longer than the limit
template <class Call, class Condition>
ResultRow rowUntil(const std::string& what, Call call, Condition holds, double wantedMS,
                   load::Clock::duration limit = std::chrono::seconds(60)) {
    const auto start = load::Clock::now();
    call();
    if (!load::waitFor(holds, limit)) {
        throw std::runtime_error("no effect: " + what);
    }
    return rowOnce(what, "ms", inMS(load::Clock::now() - start), wantedMS);
}

}  // namespace bench
