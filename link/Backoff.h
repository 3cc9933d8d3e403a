// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <random>

#include "../framework/api.h"

namespace palink {

/// The pauses between attempts to connect: they double from attempt to attempt up to a longest one,
/// each shortened at random by up to a half, so that many clients of a server which restarts do not
/// come back at the same moment. Not for use by two threads at a time.
class PA_API Backoff {
public:
    explicit Backoff(std::chrono::milliseconds first = std::chrono::milliseconds(250),
                     std::chrono::milliseconds longest = std::chrono::seconds(30));

    /// The pause before the next attempt.
    std::chrono::milliseconds next();

    /// The connection is made: the next pause is the first again.
    void reset();

private:
    const std::chrono::milliseconds first_;
    const std::chrono::milliseconds longest_;
    std::chrono::milliseconds pause_;  // the next, before it is shortened
    std::minstd_rand random_;
};

}  // namespace palink
