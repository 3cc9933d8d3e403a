// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iterator>

namespace simserver {

/// The earliest of the optional times `timeOf(thing)`; nothing when there is none.
template <class Things, class TimeOf>
auto earliest(const Things& things, TimeOf timeOf) {
    decltype(timeOf(*std::begin(things))) first{};
    for (const auto& thing : things) {
        if (const auto time = timeOf(thing); time && (!first || *time < *first)) {
            first = time;
        }
    }
    return first;
}

}  // namespace simserver
