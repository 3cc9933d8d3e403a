// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unordered_map>

namespace pa {

/// Records by key. They are reported far more often than they are listed, so that finding one costs
/// the same however many there are, and a list of them is put in order when it is made.
template <class Record>
using RecordCache = std::unordered_map<int, Record>;

}  // namespace pa
