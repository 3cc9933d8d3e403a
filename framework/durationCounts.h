// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

#include "api.h"

namespace pa {

/// How long something has taken so far, by the number of times.
struct Durations {
    /// The buckets, each by the longest duration in it, in us: from 0.1 ms to 10 s.
    static constexpr std::array<std::int64_t, 16> boundsUS{
        100,    250,     500,     1'000,   2'500,     5'000,     10'000,    25'000,
        50'000, 100'000, 250'000, 500'000, 1'000'000, 2'500'000, 5'000'000, 10'000'000};

    std::array<std::uint64_t, boundsUS.size() + 1> counts{};  ///< the last is beyond all bounds
    std::chrono::nanoseconds sum{0};                          ///< of all durations
};

/// Counts durations. Every function may be called from any thread, and takes no lock.
class PA_API DurationCounts {
public:
    /// @param times how often it has taken so long
    void add(std::chrono::nanoseconds duration, std::uint64_t times = 1);

    [[nodiscard]] Durations read() const;  ///< what has been counted so far

private:
    std::array<std::atomic<std::uint64_t>, Durations::boundsUS.size() + 1> counts_{};
    std::atomic<std::int64_t> sumNS_{0};
};

}  // namespace pa
