// SPDX-License-Identifier: Apache-2.0
// The requests for a source: gain, zones, its lock, its level meter. The worker renews the lock.
#include <algorithm>
#include <exception>

#include "framework/clock.h"
#include "framework/levelMeter.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/paDebug.h"
#include "sdk/requests/checks.h"
#include "sdk/requests/queueOperation.h"
#include "sdk/requests/requestParts.h"
#include "sdk/requests/serverWait.h"

using namespace pa;

namespace {

constexpr int sourcesPerAmplifierElement = 100;

bool hasGain(PaSource::Type type) {
    return type == PaSource::ZENTRIQ_ANALOG_INPUT || type == PaSource::ZENTRIQ_IP_PAGING_STATION;
}

void sendToActiveServer(OperationType type, const Payload& payload) {
    queueOperation(destination::activeServer(), type, payload);
}

void refuseEmpty(const std::string& zoneId) {
    require<std::out_of_range>(!zoneId.empty(), "Invalid zoneId");
}
void refuseEmpty(const std::vector<std::string>& zoneIds) {
    require<std::out_of_range>(!zoneIds.empty(), "Empty zoneIdList");
}

// id,zone^zone
template <class ZoneIds>
void sendZones(OperationType type, int sourceId, const ZoneIds& zoneIds) {
    Payload payload(usualRequestSize);
    sendToActiveServer(type, payload.number(sourceId).separator(',').preparedList(zoneIds, '^'));
}

// sourceId,uuid
void sendLock(OperationType type, int sourceId, const std::string& uuid) {
    sendToActiveServer(type, Payload().number(sourceId).separator(',').plain(uuid));
}

}  // namespace

// Operation 92/9: id,level,first,second
void PaSource::setGain(double level, bool first, bool second) const {
    requireType<std::invalid_argument>(hasGain(type), "setGain: Unsupported Source Type", type);
    // Not a range test: a level that is no number is sent.
    require<std::out_of_range>(!(level < -96.0 || level > 42.0),
                               "PaSource::setGain(): Invalid Gain Level. Valid Range [-96, +42]");
    queueOperation(destination::directLink, operations::setSourceGain,
                   gainPayload(id, level, first, second));
}

double PaSource::getGain() const {
    // The text of a sink, and not the exception of setGain: both are part of the interface.
    requireType<std::out_of_range>(hasGain(type), "getGain: Unsupported Sink Type", type);
    return inputGain;
}

void PaSource::attachPaZone(const std::string& zoneId, AttachMode mode) const {
    refuseEmpty(zoneId);
    attachPaZone(std::vector{zoneId}, mode);
}

// Operation 92/3: id,zone^zone
void PaSource::attachPaZone(const std::vector<std::string>& zoneIds, AttachMode mode) const {
    refuseEmpty(zoneIds);
    if (mode == REPLACE_EXISTING_SET) {
        detachAllPaZones();
    }
    sendZones(operations::attachZones, id, zoneIds);
}

void PaSource::detachPaZone(const std::string& zoneId) const {
    refuseEmpty(zoneId);
    detachPaZone(std::vector{zoneId});
}

// Operation 92/4: id,zone^zone
void PaSource::detachPaZone(const std::vector<std::string>& zoneIds) const {
    refuseEmpty(zoneIds);
    sendZones(operations::detachZones, id, zoneIds);
}

// Operation 92/4: id - without a comma it means every zone
void PaSource::detachAllPaZones() const {
    sendToActiveServer(operations::detachZones, Payload().number(id));
}

std::vector<std::string> PaSource::getAttachedPaZones() const {
    std::vector<std::string> attached;
    AudioServer* const audioServer = load(gAudioServerInstance);
    if (audioServer != nullptr) {
        audioServer->getPAController().getAttachedPaZoneList(id, &attached);
    }
    return attached;
}

// Operation 92/1: sourceId,uuid
bool PAController::attachPaSource(int sourceId) {
    return changeLock("attachPaSource", sourceId, true);
}

// Operation 92/2: sourceId,uuid
bool PAController::detachPaSource(int sourceId) {
    return changeLock("detachPaSource", sourceId, false);
}

bool PAController::changeLock(const char* caller, int sourceId, bool attaching) {
    AudioServer* const audioServer = load(gAudioServerInstance);
    if (audioServer == nullptr || sourceId < 1) {
        return false;
    }
    try {
        const std::string self = audioServer->getUUID();
        const LockRequestResult request = requestLockChange(sourceId, self, attaching);
        if (!request.sent) {
            return request.isDone;
        }
        return mayWaitForServer(caller) && waitForServer(*request.sent, [&] {
                   const MutexGuard guard(paControllerMtx);
                   const PaSourceLockStatus* const lock = lockOf(sourceId);
                   return lock != nullptr && (lock->lockedUUID == self) == attaching;
               });
    } catch (const std::exception& e) {
        handleError(1, "%s: given up: %s", caller, e.what());
        return false;
    }
}

/// Asks the server for a change of a lock, unless there is nothing to ask for.
PAController::LockRequestResult PAController::requestLockChange(int sourceId,
                                                                const std::string& self,
                                                                bool attaching) {
    const MutexGuard guard(paControllerMtx);
    const PaSourceLockStatus* const lock = lockOf(sourceId);
    if (attaching && lock != nullptr && lock->lockedUUID == self) {
        return {true, std::nullopt};
    }
    if (lock == nullptr || (attaching ? !lock->lockedUUID.empty() : lock->lockedUUID != self)) {
        return {false, std::nullopt};
    }
    sendLock(attaching ? operations::attachSource : operations::detachSource, sourceId, self);
    return {false, wallClock()};
}

// Operation 92/7: sourceId,uuid
void PAController::renewSourceLocks() {
    AudioServer* const audioServer = load(gAudioServerInstance);
    if (audioServer == nullptr) {
        return;
    }
    const std::string self = audioServer->getUUID();
    for (const PaSourceLockStatus& lock : availablePaSourcesLockStatus) {
        if (lock.lockedUUID.empty() || lock.lockedUUID != self) {
            continue;  // free, or locked by another client
        }
        sendLock(operations::renewLock, lock.sourceId, lock.lockedUUID);
        PASDK_DEBUG(1, "%s: sending extend lock for sourceId >%d<, UUID >%s<", "threadFunction",
                    lock.sourceId, lock.lockedUUID.c_str());
    }
}

void PAController::renewSourceLocksNow() {
    const MutexGuard guard(paControllerMtx);
    renewSourceLocks();
}

void PAController::enablePaSourceVUMeter(int sourceId) {
    subscribeVUMeter(true, sourceId);
}

void PAController::disablePaSourceVUMeter(int sourceId) {
    subscribeVUMeter(false, sourceId);
}

void PAController::subscribeVUMeter(bool subscribe, int sourceId) {
    const MutexGuard guard(paControllerMtx);
    const auto& sources = availablePaSources;
    if (std::any_of(sources.begin(), sources.end(),
                    [sourceId](const auto& entry) { return entry.second.id == sourceId; })) {
        subscribeUnsubscribeToResAmpVUMeterElement(subscribe,
                                                   sourceId / sourcesPerAmplifierElement);
    }
}
