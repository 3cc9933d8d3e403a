// SPDX-License-Identifier: Apache-2.0
#include "link/Backoff.h"

#include <algorithm>

namespace palink {

Backoff::Backoff(std::chrono::milliseconds first, std::chrono::milliseconds longest)
    : first_(first), longest_(longest), pause_(first), random_(std::random_device{}()) {}

std::chrono::milliseconds Backoff::next() {
    const auto pause = pause_;
    pause_ = std::min(pause_ * 2, longest_);
    std::uniform_int_distribution<std::chrono::milliseconds::rep> shortened(pause.count() / 2,
                                                                            pause.count());
    return std::chrono::milliseconds(shortened(random_));
}

void Backoff::reset() {
    pause_ = first_;
}

}  // namespace palink
