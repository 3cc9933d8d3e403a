#pragma once

#include <map>
#include <mutex>
#include <string>

#include "client/ChangeStream.h"

namespace console {

/// Whether a renewal is refused. That can happen to one that crosses with the release of the
/// source; what matters is that the lock is released.
bool isOfRenewal(const palink::Refusal& refusal);

/// Counts how often this client has renewed the lock of each source. May be used from any thread.
class RenewalCounter {
public:
    RenewalCounter();

    int renewalsOf(int sourceId) const;

private:
    mutable std::mutex lock_;
    std::map<std::string, int> renewals_;  // by source number; guarded by lock_
    const paclient::Listener listener_;    // last: it uses the others
};

}  // namespace console
