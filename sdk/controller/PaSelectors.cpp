// SPDX-License-Identifier: Apache-2.0
// PA selectors: record, cache, queries, reserved operations.
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/paDebug.h"
#include "sdk/records/cacheValues.h"
#include "sdk/records/recordColumns.h"
#include "sdk/records/recordMerge.h"

using namespace pa;

namespace {

constexpr Column<PaSelector> columns[] = {
    integer<&PaSelector::id>,
    integer<&PaSelector::associatedSourceId>,
    integer<&PaSelector::type>,
    skipped,  // 3
    asReceived<&PaSelector::number>,
    asReceived<&PaSelector::label>,
    integer<&PaSelector::protection>,
    skipped,  // 7
    integer<&PaSelector::mode>,
    skipped,  // 9
    integer<&PaSelector::dynamicRestriction>,
    skipped,  // 11
    integer<&PaSelector::state>,
};

/// The zones are not among them: no record carries them.
constexpr Field<PaSelector> fields[] = {
    byValue<&PaSelector::associatedSourceId>,
    byValue<&PaSelector::label>,
    byValue<&PaSelector::type>,
    byValue<&PaSelector::number>,
    byValue<&PaSelector::protection>,
    byValue<&PaSelector::mode>,
    byValue<&PaSelector::dynamicRestriction>,
    byValue<&PaSelector::state>,
};

}  // namespace

void PAController::addUpdatePaSelector(int elemNo, TEVlist* elemArgList) {
    if (elemNo == 0 || elemArgList == nullptr) {
        return;
    }
    PaSelector decoded;
    decodeRecord<columns>(*elemArgList, decoded);

    const MutexGuard guard(paControllerMtx);
    const auto [entry, merged] =
        mergeRecord<fields>(availablePaSelectors, elemNo, decoded, matchById<PaSelector>);
    const int selectorId = entry->second.id;
    if (merged == Merge::Updated) {
        PASDK_DEBUG(1, "%s: selectorId >%d< updated", "addUpdatePaSelector", selectorId);
    } else if (merged == Merge::Added) {
        PASDK_DEBUG(1, "%s: selectorId >%d< added to list. Total selectors >%zd<",
                    "addUpdatePaSelector", selectorId, availablePaSelectors.size());
    }
    publish(availablePaSelectors, entry, merged != Merge::Unchanged,
            &PAControllerObserver::onPaSelectorUpdate, EventItem::PA_SELECTOR_UPDATED);
}

std::vector<PaSelector> PAController::getPaSelectors(int sourceId) const {
    if (sourceId < 1) {
        return {};
    }
    const MutexGuard guard(paControllerMtx);
    return valuesWith(availablePaSelectors, &PaSelector::associatedSourceId, sourceId);
}

std::vector<PaSelector> PAController::getPaSelectors() const {
    const MutexGuard guard(paControllerMtx);
    return valuesOf(availablePaSelectors);
}

std::optional<PaSelector> PAController::findPaSelector(int key) const {
    const MutexGuard guard(paControllerMtx);
    return valueAt(availablePaSelectors, key);
}

PaSelector::State PAController::getPaSelectorState(int selectorId) const {
    if (selectorId < 1) {
        return PaSelector::DISABLED;
    }
    const MutexGuard guard(paControllerMtx);
    return stateOf(availablePaSelectors, selectorId).value_or(PaSelector::DISABLED);
}

// The reserved operations wait for the mutex, each for its own arguments, and do nothing else.

void PAController::passMutex() const {
    const MutexGuard guard(paControllerMtx);
}

std::vector<PaSink> PAController::getPaSinksForSelector(int selectorId) const {
    if (selectorId > 0) {
        passMutex();
    }
    return {};
}

void PAController::addPaSinkToSelector(int selectorId, int sinkId) {
    if (selectorId > 0 && sinkId > 0) {
        passMutex();
    }
}

void PAController::deletePaSinkFromSelector(int selectorId, int /*sinkId*/) {
    if (selectorId > 0) {
        passMutex();
    }
}

void PAController::enablePaSelector(int selectorId) {
    if (selectorId > 0) {
        passMutex();
    }
}

void PAController::disablePaSelector(int selectorId) {
    if (selectorId > 0) {
        passMutex();
    }
}
