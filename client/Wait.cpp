// SPDX-License-Identifier: Apache-2.0
#include "client/Wait.h"

#include <algorithm>

#include "framework/clock.h"

namespace paclient {

WaitCourse::WaitCourse(const Wait& wait) : wait_(wait), startMS_(pa::monotonicMS()) {}

std::optional<std::chrono::milliseconds> WaitCourse::next() {
    if (wait_.whileWaiting) {
        wait_.whileWaiting(waited());
    }
    const auto left = wait_.limit - waited();
    if (left.count() <= 0) {
        return std::nullopt;
    }
    return std::min(left, wait_.tick);
}

std::chrono::milliseconds WaitCourse::waited() const {
    return std::chrono::milliseconds(pa::monotonicMS() - startMS_);
}

}  // namespace paclient
