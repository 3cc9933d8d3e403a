// SPDX-License-Identifier: Apache-2.0
#include "framework/durationCounts.h"

#include <algorithm>

namespace pa {

void DurationCounts::add(std::chrono::nanoseconds duration, std::uint64_t times) {
    const auto& bounds = Durations::boundsUS;
    const auto* const bucket =
        std::lower_bound(bounds.begin(), bounds.end(),
                         std::chrono::ceil<std::chrono::microseconds>(duration).count());
    counts_[static_cast<std::size_t>(bucket - bounds.begin())] += times;
    sumNS_ += duration.count() * static_cast<std::int64_t>(times);
}

Durations DurationCounts::read() const {
    Durations read;
    std::copy(counts_.begin(), counts_.end(), read.counts.begin());
    read.sum = std::chrono::nanoseconds(sumNS_);
    return read;
}

}  // namespace pa
