// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>

#include "client/confirmed.h"
#include "client/confirmedOperations.h"
#include "framework/posixThread.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "sdk/operations.h"

namespace paclient {

namespace {

using State = Confirmation::State;

/// Calls a function that itself waits for the server, on a thread of its own, so that the caller
/// can stop waiting. The function must use nothing that ends before the process.
void callInBackground(const char* name, std::function<void()> function) {
    pa::PosixThread(name, std::move(function)).detach();
}

std::optional<PaSourceLockStatus> lockOf(int sourceId) {
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        if (lock.sourceId == sourceId) {
            return lock;
        }
    }
    return std::nullopt;
}

/// Without one the controller sends nothing.
PaSourceLockStatus requiredLock(int sourceId) {
    const auto lock = lockOf(sourceId);
    if (!lock) {
        throw std::invalid_argument("source " + std::to_string(sourceId) + " has no lock");
    }
    return *lock;
}

}  // namespace

std::string lockHolder(int sourceId) {
    const auto lock = lockOf(sourceId);
    return lock ? lock->lockedUUID : std::string();
}

std::string ownUUID() {
    AudioServer* const server = pa::load(gAudioServerInstance);
    return server == nullptr ? std::string() : server->getUUID();
}

Confirmation takeLock(int sourceId, const Wait& wait) {
    const std::string own = ownUUID();
    ConfirmedRequest request;
    request.decide = [&]() -> std::optional<Confirmation> {
        const std::string holder = requiredLock(sourceId).lockedUUID;
        if (holder.empty() || holder == own) {
            return std::nullopt;
        }
        return Confirmation{State::Refused, "another client holds its lock (" + holder + ")"};
    };
    request.operations = {pa::operations::attachSource};
    request.send = [sourceId] {
        callInBackground("lock", [sourceId] { (void)gPaController.attachPaSource(sourceId); });
    };
    request.holds = [&] { return !own.empty() && lockHolder(sourceId) == own; };
    return confirm(request, wait);
}

Confirmation releaseLock(int sourceId, const Wait& wait) {
    const std::string own = ownUUID();
    ConfirmedRequest request;
    request.decide = [&]() -> std::optional<Confirmation> {
        const std::string holder = requiredLock(sourceId).lockedUUID;
        if (holder == own) {
            return std::nullopt;
        }
        return Confirmation{State::Refused, holder.empty()
                                                ? "no client holds its lock"
                                                : "another client holds its lock (" + holder + ")"};
    };
    request.operations = {pa::operations::detachSource};
    request.send = [sourceId] {
        callInBackground("lock", [sourceId] { (void)gPaController.detachPaSource(sourceId); });
    };
    request.holds = [&] { return lockHolder(sourceId) != own; };
    return confirm(request, wait);
}

}  // namespace paclient
