// SPDX-License-Identifier: Apache-2.0
// PA triggers: record, cache and queries of the hardware triggers; the software triggers, which are
// this client's own.
#include <algorithm>
#include <optional>

#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/globals.h"
#include "sdk/paDebug.h"
#include "sdk/records/cacheValues.h"
#include "sdk/records/recordColumns.h"
#include "sdk/records/recordMerge.h"
#include "sdk/requests/queueOperation.h"

using namespace pa;

namespace {

/// A trigger record: the trigger and the number of its server.
struct TriggerRecord : PaTrigger {
    std::optional<int> owner;  // destination number of its server
};

constexpr Column<TriggerRecord> columns[] = {
    integer<&TriggerRecord::id>,
    integer<&TriggerRecord::associatedSourceId>,
    asReceived<&TriggerRecord::label>,
    integer<&TriggerRecord::type>,
    skipped,  // 4
    asReceived<&TriggerRecord::subAddress>,
    integer<&TriggerRecord::priority>,
    integer<&TriggerRecord::state>,
    skipped,  // 8
    integer<&TriggerRecord::associatedSelectorId>,
    [](TriggerRecord& record, const char* text) { record.owner = decodeInt(text); },  // 10
};

constexpr Field<PaTrigger> fields[] = {
    byValue<&PaTrigger::associatedSourceId>,
    byValue<&PaTrigger::label>,
    byValue<&PaTrigger::type>,
    byValue<&PaTrigger::subAddress>,
    byValue<&PaTrigger::priority>,
    byValue<&PaTrigger::state>,
    byValue<&PaTrigger::associatedSelectorId>,
};

constexpr int greatestSwPriority = 100;

auto hasId(int triggerId) {
    return [triggerId](const PaSWTrigger& made) { return made.trigger.id == triggerId; };
}

}  // namespace

void PAController::addUpdatePaTrigger(int elemNo, TEVlist* elemArgList) {
    if (!hasRecord(elemArgList, "addUpdatePaTrigger", elemNo)) {
        return;
    }
    TriggerRecord decoded;
    decodeRecord<columns>(*elemArgList, decoded);
    if (load(gIndirectCXSConnection) && decoded.owner && *decoded.owner != load(gLocalDstNo)) {
        return;  // another server's trigger, reported by the local one
    }

    const MutexGuard guard(paControllerMtx);
    const auto [entry, merged] = mergeRecord<fields, PaTrigger>(availablePaTriggersHW, elemNo,
                                                                decoded, matchById<PaTrigger>);
    const int triggerId = entry->second.id;
    if (merged == Merge::Updated) {
        PASDK_DEBUG(1, "%s: triggerId >%d< updated", "addUpdatePaTrigger", triggerId);
    } else if (merged == Merge::Added) {
        PASDK_DEBUG(1, "%s: triggerId >%d< added to list. Total HW triggers >%zd<",
                    "addUpdatePaTrigger", triggerId, availablePaTriggersHW.size());
    }
    publish(availablePaTriggersHW, entry, merged != Merge::Unchanged,
            &PAControllerObserver::onPaTriggerUpdate, EventItem::PA_TRIGGER_UPDATED);
}

std::vector<PaTrigger> PAController::getHwPaTriggers(int sourceId) const {
    if (sourceId < 1) {
        return {};
    }
    const MutexGuard guard(paControllerMtx);
    return valuesWith(availablePaTriggersHW, &PaTrigger::associatedSourceId, sourceId);
}

std::vector<PaTrigger> PAController::getHwPaTriggers() const {
    const MutexGuard guard(paControllerMtx);
    return valuesOf(availablePaTriggersHW);
}

std::optional<PaTrigger> PAController::findHwPaTrigger(int key) const {
    const MutexGuard guard(paControllerMtx);
    return valueAt(availablePaTriggersHW, key);
}

PaTrigger::State PAController::getHwPaTriggerState(int triggerId) const {
    if (triggerId < 1) {
        return PaTrigger::UNKNOWN;
    }
    const MutexGuard guard(paControllerMtx);
    return stateOf(availablePaTriggersHW, triggerId).value_or(PaTrigger::UNKNOWN);
}

// -------------------------------------------------------------------------------------- software

int PAController::createSwPaTrigger(int sourceId, int triggerPriority, const std::string& preChime,
                                    const std::string& displayParameters) {
    AudioServer* const audioServer = load(gAudioServerInstance);
    if (audioServer == nullptr || sourceId < 1 || triggerPriority < 0 ||
        triggerPriority > greatestSwPriority) {
        return 0;
    }
    PaSWTrigger made;
    made.trigger.label = "User Created Trigger";
    made.trigger.type = PaTrigger::TRIGGER_TYPE_UNDEFINED;
    made.trigger.priority = triggerPriority;
    made.trigger.state = PaTrigger::INACTIVE;
    made.associatedSourceId = sourceId;
    made.preChime = preChime;
    made.displayParameters = displayParameters;

    const MutexGuard guard(paControllerMtx);
    made.trigger.subAddress = audioServer->getUUID();
    const LeafGuard leaf(lookupLock);
    int highest = 0;
    for (const PaSWTrigger& other : availablePaTriggersSW) {
        highest = std::max(highest, other.trigger.id);
    }
    made.trigger.id = highest + 1;
    availablePaTriggersSW.push_back(made);
    return made.trigger.id;
}

int PAController::createSwPaTrigger(int sourceId, int triggerPriority) {
    return createSwPaTrigger(sourceId, triggerPriority, "", "");
}

void PAController::deleteSwPaTrigger(int triggerId) {
    if (triggerId < 1) {
        return;
    }
    const MutexGuard guard(paControllerMtx);
    const LeafGuard leaf(lookupLock);
    auto& made = availablePaTriggersSW;
    const auto found = std::find_if(made.begin(), made.end(), hasId(triggerId));
    if (found != made.end()) {
        made.erase(found);
    }
}

// Operation 92/5: sourceId,priority[,preChime,displayParameters]
void PAController::activateSwPaTrigger(int triggerId) {
    sendSwTrigger(
        triggerId, "activateSwPaTrigger", operations::activateTrigger, [](const PaSWTrigger& made) {
            Payload payload;
            payload.number(made.associatedSourceId).separator(',').number(made.trigger.priority);
            if (!made.preChime.empty() || !made.displayParameters.empty()) {
                payload.separator(',').plain(made.preChime);
                payload.separator(',').plain(made.displayParameters);
            }
            return payload;
        });
}

// Operation 92/6: sourceId
void PAController::deactivateSwPaTrigger(int triggerId) {
    sendSwTrigger(
        triggerId, "deactivateSwPaTrigger", operations::deactivateTrigger,
        [](const PaSWTrigger& made) { return Payload().number(made.associatedSourceId); });
}

void PAController::sendSwTrigger(int triggerId, const char* caller, OperationType type,
                                 Payload (*payloadOf)(const PaSWTrigger&)) {
    if (triggerId < 1 || !hasSwTriggers()) {
        return;
    }
    const MutexGuard guard(paControllerMtx);
    std::optional<Payload> payload;
    {
        const LeafGuard leaf(lookupLock);
        const auto& made = availablePaTriggersSW;
        const auto found = std::find_if(made.begin(), made.end(), hasId(triggerId));
        if (found != made.end()) {
            payload = payloadOf(*found);
        }
    }
    if (!payload) {
        handleError(1, "%s: SWTriggerId >%d< not created by me", caller, triggerId);
        return;
    }
    queueOperation(destination::directLink, type, *payload);
}

/// Does not wait for a callback that is running.
bool PAController::hasSwTriggers() const {
    const LeafGuard leaf(lookupLock);
    return !availablePaTriggersSW.empty();
}

std::vector<PaSWTrigger> PAController::getSwPaTriggers() const {
    const LeafGuard leaf(lookupLock);
    return availablePaTriggersSW;
}
