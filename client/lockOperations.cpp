#include <functional>
#include <utility>

#include "client/ChangeStream.h"
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

}  // namespace

std::string lockHolder(int sourceId) {
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        if (lock.sourceId == sourceId) {
            return lock.lockedUUID;
        }
    }
    return {};
}

std::string ownUUID() {
    AudioServer* const server = pa::load(gAudioServerInstance);
    return server == nullptr ? std::string() : server->getUUID();
}

Confirmation takeLock(int sourceId, const Wait& wait) {
    const std::string own = ownUUID();
    const std::string holder = lockHolder(sourceId);
    if (!holder.empty() && holder != own) {
        return {State::Refused, "another client holds its lock (" + holder + ")"};
    }
    ConfirmedRequest request;
    request.operations = {pa::operations::attachSource};
    request.send = [sourceId] {
        callInBackground("lock", [sourceId] { (void)gPaController.attachPaSource(sourceId); });
    };
    request.holds = [&] { return !own.empty() && lockHolder(sourceId) == own; };
    return confirm(request, wait);
}

Confirmation releaseLock(int sourceId, const Wait& wait) {
    const std::string own = ownUUID();
    const std::string holder = lockHolder(sourceId);
    if (holder != own && !ChangeStream::instance().isAway()) {  // incomplete caches show no lock
        return {State::Refused, holder.empty() ? "no client holds its lock"
                                               : "another client holds its lock (" + holder + ")"};
    }
    ConfirmedRequest request;
    request.operations = {pa::operations::detachSource};
    request.send = [sourceId] {
        callInBackground("lock", [sourceId] { (void)gPaController.detachPaSource(sourceId); });
    };
    request.holds = [&] { return lockHolder(sourceId) != own; };
    return confirm(request, wait);
}

}  // namespace paclient
