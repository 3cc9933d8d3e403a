// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "client/confirmed.h"

/// @file
/// What the confirmed operations of several resources share.

namespace paclient {

/// The time that a server has to refuse what it answers only when it refuses it.
constexpr std::chrono::milliseconds refusalLimit = std::chrono::seconds(1);

/// The resource with this number as it is now; the one that is given when it is withdrawn.
template <class Record>
Record current(const Record& given, std::vector<Record> all) {
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Record& record) { return record.id == given.id; });
    return found == all.end() ? given : *found;
}

/// A level in the digits that are sent; a zero has no sign.
std::string sentDigits(double level);

/// A wait that ends after `refusalLimit` at the latest.
Wait shortened(const Wait& wait);

/// @param isFlagged whether the server is asked for more than the level, which nothing reports
Confirmation confirmGain(const ConfirmedRequest& request, bool isFlagged, const Wait& wait);

}  // namespace paclient
