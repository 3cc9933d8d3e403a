// SPDX-License-Identifier: Apache-2.0
#include "sdk/PAController.h"

#include <algorithm>
#include <exception>

#include "framework/clock.h"
#include "framework/earlyObject.h"
#include "sdk/controller/notify.h"
#include "sdk/paDebug.h"

using namespace pa;

namespace {

constexpr int workerPauseMS = 9000;

/// Part of the module's layout; it is never taken.
[[maybe_unused]] qxLocalMutex mtx(true);

pa::EarlyStorage<PAController> storage;
PASDK_EARLIEST const pa::EarlyObject<PAController> made(storage);

}  // namespace

constexpr PAController& gPaController = storage.object;

PAController::PAController() : acrossFork(pa::ForkRank::Controller, forkHooks()) {
    paControllerMtx.init();
    start(nullptr);
}

pa::ForkHooks PAController::forkHooks() {
    const auto enter = [this]() PASDK_NO_THREAD_SAFETY_ANALYSIS {
        paControllerMtx.enter();
        lookupLock.lock();
    };
    const auto leave = [this]() PASDK_NO_THREAD_SAFETY_ANALYSIS {
        lookupLock.unlock();
        paControllerMtx.leave();
    };
    const auto goOn = [this, leave]() PASDK_NO_THREAD_SAFETY_ANALYSIS {
        paControllerMtx.forgetWaiters();
        leave();
    };
    return {enter, leave, goOn};
}

PAController::~PAController() = default;

void PAController::registerObserver(PAControllerObserver* observer) {
    if (observer == nullptr) {
        return;
    }
    bool added = false;
    std::size_t total = 0;
    {
        const LeafGuard guard(lookupLock);
        ObserverList list = observerLists.back();
        added = std::find(list.begin(), list.end(), observer) == list.end();
        if (added) {
            list.push_back(observer);
            total = list.size();
            paControllerObservers = &observerLists.emplace_back(std::move(list));
        }
    }
    if (!added) {
        handleError(1, "%s: paObserver already part of list. Not adding to list",
                    "registerObserver");
        return;
    }
    PASDK_DEBUG(1, "%s: Adding observer to list. Total Observers >%zd<", "registerObserver", total);
}

const PAController::ObserverList& PAController::observers() const {
    return *paControllerObservers.load(std::memory_order_acquire);
}

void PAController::reportThrowingObserver() {
    try {
        throw;
    } catch (const std::exception& e) {
        handleError(1, "%s: an observer threw >%s<", "notifyObservers", e.what());
    } catch (...) {
        handleError(1, "%s: an observer threw", "notifyObservers");
    }
}

int PAController::threadFunction(void* /*argument*/) {
    PASDK_DEBUG(3, "%s: PAController worker thread started", "threadFunction");
    while (true) {
        try {
            const MutexGuard guard(paControllerMtx);
            renewSourceLocks();
            giveUpOldPreviews();
        } catch (const std::exception& e) {
            // Short of memory or threads: the next pass may succeed.
            handleError(1, "%s: a pass was given up: %s", "threadFunction", e.what());
        }
        sleepMS(workerPauseMS);
    }
}

/// Whether a caller may wait for an answer of the server. Inside an observer's callback it would
/// hold the mutex until the time is up, and the records that could answer wait for the mutex.
bool PAController::mayWaitForServer(const char* caller) const {
    if (!paControllerMtx.heldByThisThread()) {
        return true;
    }
    handleError(1, "%s: called inside a callback of an observer, where no answer can arrive",
                caller);
    return false;
}
