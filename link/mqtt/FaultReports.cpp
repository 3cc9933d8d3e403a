// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/FaultReports.h"

#include <algorithm>
#include <utility>

#include "framework/clock.h"
#include "framework/log.h"

namespace palink {

void FaultReports::report(std::string_view topic, const std::string& fault) {
    constexpr int mostLines = 10;
    constexpr std::int64_t longestPeriodMS = 10'000;
    constexpr std::size_t longestTopic = 200;
    std::uint64_t leftOut = 0;
    {
        const std::lock_guard guard(lock_);
        const std::int64_t now = pa::monotonicMS();
        if (count_++ == 0 || now - periodMS_ >= longestPeriodMS) {
            periodMS_ = now;
            written_ = 0;
        }
        if (written_ >= mostLines) {
            ++leftOut_;
            return;
        }
        ++written_;
        leftOut = std::exchange(leftOut_, 0);
    }
    if (leftOut > 0) {
        handleError(2, "%llu more messages that are not as the protocol has them were dropped",
                    static_cast<unsigned long long>(leftOut));
    }
    handleError(2, "message on >%.*s< dropped: %s",
                static_cast<int>(std::min(topic.size(), longestTopic)), topic.data(),
                fault.c_str());
}

std::uint64_t FaultReports::count() const {
    const std::lock_guard guard(lock_);
    return count_;
}

}  // namespace palink
