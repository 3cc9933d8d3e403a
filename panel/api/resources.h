// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/resources.h"
#include "panel/Services.h"
#include "panel/api/records.h"
#include "panel/http/Route.h"

namespace simserver {
class SimControl;
}

/// @file
/// What the handlers of several kinds of resource share.

namespace papanel {

/// The simulated server's own side.
/// @throws ApiError not-supported when the server is a real one
simserver::SimControl& simulatedServer(const Services& services);

/// "source 3"
template <class Record>
std::string titleOf(const paclient::Resource<Record>& kind, const Record& record) {
    return kind.one + (' ' + kind.number(record));
}

/// A record as it is now; as it was when it has been withdrawn meanwhile.
template <class Record>
Json recordNow(const Services& services, const paclient::Resource<Record>& kind,
               const Record& record) {
    for (const Record& now : kind.all()) {
        if (kind.number(now) == kind.number(record)) {
            return recordOf(now, services);
        }
    }
    return recordOf(record, services);
}

}  // namespace papanel
