// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <map>
#include <mutex>
#include <utility>

#include "client/ChangeStream.h"

namespace papanel {

/// Since when sinks and sources are faulty, by what the controller has reported since this object
/// was made. A device that is withdrawn is remembered until all devices of a new connection are
/// known: a server that stops in order withdraws everything, too. So a connection that was lost and
/// is back changes nothing for what is still faulty.
///
/// Every function may be called from any thread.
class FaultTimes {
public:
    /// The fault of a device.
    struct Fault {
        std::time_t since = 0;  ///< when it was reported
        bool isOlder = false;   ///< it was there with the first report of the device
    };

    FaultTimes();

    /// @name The fault of a faulty sink or source. One that is not reported yet is of this moment.
    /// @{
    [[nodiscard]] Fault of(const PaSink& sink) const;
    [[nodiscard]] Fault of(const PaSource& source) const;
    /// @}

private:
    enum class Kind { Sink, Source };
    using Key = std::pair<Kind, int>;

    struct Device {
        bool isFaulty = false;
        bool isReported = false;  // over the present connection, and not withdrawn
        Fault fault;              // while it is faulty
    };

    void take(const paclient::Change& change);
    void report(Key key, bool isFaulty);
    void withdraw(Key key);
    void forgetWithdrawn();
    [[nodiscard]] Fault of(Key key) const;

    mutable std::mutex lock_;
    std::map<Key, Device> devices_;  // guarded by lock_

    const paclient::Listener listener_;  // the last one: it uses all others
};

/// @name Whether a device is out of order, at least in part; unknown is not
/// @{
bool isFaulty(const PaSink& sink);
bool isFaulty(const PaSource& source);
/// @}

}  // namespace papanel
