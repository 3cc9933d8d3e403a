// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/Change.h"
#include "client/json.h"

/// @file
/// The records as pages receive them: in answers, and in events. May be used from any thread but
/// from a callback; takes the controller's mutex.

namespace papanel {

struct Caller;
struct Services;

/// @name A device; while it is faulty with `faultySince`, in UTC, and `faultyBefore`: whether the
/// fault was there with the first report of the device, so that it is older
/// @{
paclient::Json recordOf(const PaSink& sink, const Services& services);
paclient::Json recordOf(const PaSource& source, const Services& services);
/// @}

/// A record that has nothing of the gateway's own.
template <class Record>
paclient::Json recordOf(const Record& record, const Services& /*services*/) {
    return paclient::toJson(record);
}

/// An announcement with `contentText`.
paclient::Json recordOf(const AnnouncementRequest& announcement);

/// A lock with `user` and `page` of the session that has taken it, and `heldBy`: "page", "another
/// client" or null. With a caller "page" is "this page" or "another page": of the caller's session
/// or of another one.
paclient::Json recordOf(const paclient::SourceLock& lock, const Services& services,
                        const Caller* caller = nullptr);

/// All records of a kind, as "zones" or "sources".
paclient::Json recordsOf(const std::string& kind, const Services& services,
                         const Caller* caller = nullptr);

/// The connection, the server, the clock of the station and how much there is.
paclient::Json statusOf(const Services& services);

/// Everything that a page begins with: `status`, and the records of each kind.
paclient::Json snapshotOf(const Services& services);

}  // namespace papanel
