// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "client/Connection.h"
#include "client/checkMessage.h"
#include "client/json.h"
#include "simserver/SimControl.h"

/// @file
/// What programs ask of a simulated server's own side. Every function may be called from any
/// thread, but not from a callback.

namespace paoperating {

/// What the server can play, when it is a simulated one and this user may ask for it.
std::optional<paclient::Playable> playableAt(paclient::Endpoint& endpoint);

/// @name As JSON: `item`, `text` and `seconds`; `path` and `seconds`
/// @{
paclient::Json toJson(const simserver::DictionaryItem& item);
paclient::Json toJson(const simserver::Recording& recording);
/// @}

/// Something that the server can be made to ignore.
struct Ignorable {
    const char* name;
    const char* text;
    void (simserver::SimControl::*ignore)(bool on);
};

constexpr Ignorable renewals{"renewals", "renewals of locks",
                             &simserver::SimControl::ignoreRenewals};
constexpr Ignorable requests{"requests", "requests", &simserver::SimControl::ignoreRequests};

/// What another client does with the lock of a source.
struct LockAction {
    void (simserver::SimControl::*act)(int sourceId, const std::string& client);
    const char* effect;
};

constexpr LockAction lockAction{&simserver::SimControl::lockSource, " is locked by the client "};
constexpr LockAction unlockAction{&simserver::SimControl::unlockSource,
                                  " is released by the client "};

/// The UUID of a client is sent as it is.
/// @throws std::invalid_argument
void checkClient(const std::string& client);

/// Has the server drop the connection, and waits until that is known.
/// @throws paclient::NotConnected when it is not known in time
void disconnect(paclient::Connection& connection, simserver::SimControl& server,
                const paclient::Wait& wait);

/// Has the server end and start again; as above.
/// @throws NotPossible when the server does not start again
void restart(paclient::Connection& connection, simserver::SimControl& server,
             const paclient::Wait& wait);

}  // namespace paoperating
