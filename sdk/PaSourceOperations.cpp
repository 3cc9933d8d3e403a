// What an application asks of a source: gain, zones, its lock, its level meter.
#include <algorithm>
#include <optional>
#include <stdexcept>

#include "framework/clock.h"
#include "framework/levelMeter.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/Payload.h"
#include "sdk/QXReceiver.h"
#include "sdk/destination.h"
#include "sdk/globals.h"
#include "sdk/unsupportedType.h"

namespace {

constexpr int resourceClass = 92;
constexpr int attachSource = 1;
constexpr int detachSource = 2;
constexpr int attachZones = 3;
constexpr int detachZones = 4;
constexpr int pollMS = 50;
constexpr int sourcesPerAmplifierElement = 100;

bool hasGain(PaSource::Type type) {
    return type == PaSource::ZENTRIQ_ANALOG_INPUT || type == PaSource::ZENTRIQ_IP_PAGING_STATION;
}

void sendToActiveServer(int operationNumber, const Payload& payload) {
    gQXReceiver.addOperationToSendQueue(destination::activeServer(), resourceClass, operationNumber,
                                        1, payload.text());
}

void refuseEmptyId(const std::string& zoneId) {
    if (zoneId.empty()) {
        throw std::out_of_range("Invalid zoneId");
    }
}

void refuseEmptyList(const std::vector<std::string>& zoneIds) {
    if (zoneIds.empty()) {
        throw std::out_of_range("Empty zoneIdList");
    }
}

// id,zone^zone
Payload zonesPayload(int sourceId, const std::vector<std::string>& zoneIds) {
    Payload payload;
    return payload.number(sourceId).separator(',').preparedList(zoneIds, '^');
}

// sourceId,uuid
Payload lockPayload(int sourceId, const std::string& uuid) {
    return Payload().number(sourceId).separator(',').plain(uuid);
}

}  // namespace

// Operation 92/9: id,level,first,second
void PaSource::setGain(double level, bool first, bool second) const {
    if (!hasGain(type)) {
        throwUnsupportedType<std::invalid_argument>("setGain: Unsupported Source Type", type);
    }
    if (level < -96.0 || level > 42.0) {
        throw std::out_of_range("PaSource::setGain(): Invalid Gain Level. Valid Range [-96, +42]");
    }
    const Payload payload = Payload()
                                .number(id)
                                .separator(',')
                                .level(level)
                                .separator(',')
                                .flag(first)
                                .separator(',')
                                .flag(second);
    gQXReceiver.addOperationToSendQueue(destination::directLink, resourceClass, 9, 1,
                                        payload.text());
}

double PaSource::getGain() const {
    if (!hasGain(type)) {
        // The text of a sink, and not the exception of setGain: applications know it so.
        throwUnsupportedType<std::out_of_range>("getGain: Unsupported Sink Type", type);
    }
    return inputGain;
}

void PaSource::attachPaZone(const std::string& zoneId, AttachMode mode) const {
    refuseEmptyId(zoneId);
    attachPaZone(std::vector{zoneId}, mode);
}

// Operation 92/3: id,zone^zone
void PaSource::attachPaZone(const std::vector<std::string>& zoneIds, AttachMode mode) const {
    refuseEmptyList(zoneIds);
    if (mode == REPLACE_EXISTING_SET) {
        detachAllPaZones();
    }
    sendToActiveServer(attachZones, zonesPayload(id, zoneIds));
}

void PaSource::detachPaZone(const std::string& zoneId) const {
    refuseEmptyId(zoneId);
    detachPaZone(std::vector{zoneId});
}

// Operation 92/4: id,zone^zone
void PaSource::detachPaZone(const std::vector<std::string>& zoneIds) const {
    refuseEmptyList(zoneIds);
    sendToActiveServer(detachZones, zonesPayload(id, zoneIds));
}

// Operation 92/4: id - without a comma it means every zone
void PaSource::detachAllPaZones() const {
    sendToActiveServer(detachZones, Payload().number(id));
}

std::vector<std::string> PaSource::getAttachedPaZones() const {
    std::vector<std::string> attached;
    AudioServer* const audioServer = gAudioServerInstance;
    if (audioServer != nullptr) {
        audioServer->getPAController().getAttachedPaZoneList(id, &attached);
    }
    return attached;
}

// Operation 92/1: sourceId,uuid
bool PAController::attachPaSource(int sourceId) {
    AudioServer* const audioServer = gAudioServerInstance;
    if (audioServer == nullptr || sourceId < 1) {
        return false;
    }
    const std::string self = audioServer->getUUID();
    std::optional<std::time_t> sent;
    {
        const MutexGuard guard(paControllerMtx);
        for (const PaSourceLockStatus& lock : availablePaSourcesLockStatus) {
            if (lock.sourceId != sourceId) {
                continue;
            }
            if (lock.lockedUUID == self) {
                return true;
            }
            if (lock.lockedUUID.empty()) {
                sendToActiveServer(attachSource, lockPayload(sourceId, self));
                sent = wallClock();
                break;
            }
        }
    }
    return sent && waitForLock(sourceId, *sent,
                               [&self](const std::string& holder) { return holder == self; });
}

// Operation 92/2: sourceId,uuid
bool PAController::detachPaSource(int sourceId) {
    AudioServer* const audioServer = gAudioServerInstance;
    if (audioServer == nullptr || sourceId < 1) {
        return false;
    }
    const std::string self = audioServer->getUUID();
    std::optional<std::time_t> sent;
    {
        const MutexGuard guard(paControllerMtx);
        const auto& locks = availablePaSourcesLockStatus;
        if (std::any_of(locks.begin(), locks.end(), [&](const PaSourceLockStatus& lock) {
                return lock.sourceId == sourceId && lock.lockedUUID == self;
            })) {
            sendToActiveServer(detachSource, lockPayload(sourceId, self));
            sent = wallClock();
        }
    }
    return sent && waitForLock(sourceId, *sent,
                               [&self](const std::string& holder) { return holder != self; });
}

/// Waits until the server has told a holder of the lock that `confirms`.
template <class Confirms>
bool PAController::waitForLock(int sourceId, std::time_t sent, Confirms confirms) {
    const int limit = gMaxServerWaitTimeSeconds;
    while (std::difftime(wallClock(), sent) < limit) {
        {
            const MutexGuard guard(paControllerMtx);
            const PaSourceLockStatus* const lock = lockOf(sourceId);
            if (lock != nullptr && confirms(lock->lockedUUID)) {
                return true;
            }
        }
        sleepMS(pollMS);
    }
    return false;
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
