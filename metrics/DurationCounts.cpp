// SPDX-License-Identifier: Apache-2.0
#include "metrics/DurationCounts.h"

#include <algorithm>
#include <limits>

namespace pametrics {

void DurationCounts::add(std::chrono::nanoseconds duration) {
    const double seconds = std::chrono::duration<double>(duration).count();
    const auto* const bucket = std::lower_bound(bounds.begin(), bounds.end(), seconds);
    const std::lock_guard guard(lock_);
    ++counts_[static_cast<std::size_t>(bucket - bounds.begin())];
    seconds_ += seconds;
}

prometheus::ClientMetric::Histogram DurationCounts::histogram() const {
    const std::lock_guard guard(lock_);
    prometheus::ClientMetric::Histogram histogram;
    for (std::size_t i = 0; i < counts_.size(); ++i) {
        histogram.sample_count += counts_[i];
        histogram.bucket.push_back(
            {histogram.sample_count,
             i < bounds.size() ? bounds[i] : std::numeric_limits<double>::infinity()});
    }
    histogram.sample_sum = seconds_;
    return histogram;
}

}  // namespace pametrics
