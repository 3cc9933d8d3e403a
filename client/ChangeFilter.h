// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>

#include "../framework/api.h"
#include "Change.h"

namespace paclient {

/// Which changes a program wants: those of some kinds, and among them, when zones or sources are
/// named, what concerns one of these.
struct PA_API ChangeFilter {
    ChangeKinds kinds;            ///< wanted
    std::set<std::string> zones;  ///< ids
    std::set<int> sources;        ///< numbers

    /// Whether the change is wanted. May be called from any thread.
    bool passes(const Change& change) const;
};

}  // namespace paclient
