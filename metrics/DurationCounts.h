// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <prometheus/client_metric.h>

namespace pametrics {

/// How long something has taken, counted in buckets from 1 ms to 10 s. Every function may be called
/// from any thread.
class DurationCounts {
public:
    void add(std::chrono::nanoseconds duration);

    [[nodiscard]] prometheus::ClientMetric::Histogram histogram() const;

private:
    static constexpr std::array<double, 13> bounds{0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1,
                                                   0.25,  0.5,    1,     2.5,  5,     10};

    mutable std::mutex lock_;
    // Guarded by lock_.
    std::array<std::uint64_t, bounds.size() + 1> counts_{};  // the last one is beyond all bounds
    double seconds_ = 0;
};

}  // namespace pametrics
