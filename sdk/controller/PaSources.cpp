// SPDX-License-Identifier: Apache-2.0
// PA sources: record, cache, queries.
#include <optional>

#include "framework/clock.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/globals.h"
#include "sdk/paDebug.h"
#include "sdk/records/BlankRecord.h"
#include "sdk/records/cacheValues.h"
#include "sdk/records/recordColumns.h"
#include "sdk/records/recordMerge.h"

using namespace pa;

namespace {

/// A source record: the source, the holder of its lock and the server that reports it.
struct SourceRecord : PaSource {
    SourceRecord() { healthState = HEALTHY; }  // without a health field the source is healthy

    std::string lockedUUID;
    std::optional<int> reportingServer;  // destination number
};

constexpr Column<SourceRecord> columns[] = {
    integer<&SourceRecord::id>,
    translated<&SourceRecord::location>,
    translated<&SourceRecord::label>,
    asReceived<&SourceRecord::ipAddress>,
    integer<&SourceRecord::type>,
    skipped,  // 5
    asReceived<&SourceRecord::subAddress>,
    integer<&SourceRecord::state>,
    skipped,  // 8
    asReceived<&SourceRecord::lockedUUID>,
    [](SourceRecord& record, const char* text) { record.reportingServer = decodeInt(text); },  // 10
    floating<&SourceRecord::inputGain>,
    integer<&SourceRecord::broadcastType>,
    skipped,  // 13
    skipped,
    skipped,
    integer<&SourceRecord::healthState>,  // 16
};

/// The broadcast type is not among them: an update never changes it.
constexpr Field<PaSource> fields[] = {
    byValue<&PaSource::location>,  byValue<&PaSource::label>,       byValue<&PaSource::ipAddress>,
    byValue<&PaSource::type>,      byValue<&PaSource::subAddress>,  byValue<&PaSource::state>,
    byValue<&PaSource::inputGain>, byValue<&PaSource::healthState>,
};

}  // namespace

void PAController::addUpdatePaSource(int key, TEVlist* record) {
    const MergeResult result = mergePaSource(key, record);
    if (result != MergeResult::Dropped) {
        sleepMS(notificationPauseMS);
        notifyPaSource(key, result);
    }
}

PAController::MergeResult PAController::mergePaSource(int key, TEVlist* record) {
    if (!hasRecord(record, "addUpdatePaSource", key)) {
        return MergeResult::Dropped;
    }
    BlankRecord<SourceRecord> blank;
    SourceRecord& decoded = *blank;
    decodeRecord<columns>(*record, decoded);
    if (load(gIndirectCXSConnection) && decoded.reportingServer &&
        *decoded.reportingServer != load(gLocalDstNo)) {
        return MergeResult::Dropped;  // another server's source, reported by the local one
    }

    const MutexGuard guard(paControllerMtx);
    const auto [entry, merged] =
        mergeRecord<fields, PaSource>(availablePaSources, key, decoded, matchById<PaSource>);
    const int sourceId = entry->second.id;
    if (merged == Merge::Updated) {
        PASDK_DEBUG(1, "%s: sourceId >%d< updated. Total available sources >%zd<",
                    "addUpdatePaSource", sourceId, availablePaSources.size());
    } else if (merged == Merge::Added) {
        PASDK_DEBUG(1, "%s: sourceId >%d< added to list. Total available sources >%zd<",
                    "addUpdatePaSource", sourceId, availablePaSources.size());
    }
    updateLockStatus(decoded.id, decoded.lockedUUID);
    return merged == Merge::Unchanged ? MergeResult::Unchanged : MergeResult::Changed;
}

void PAController::notifyPaSource(int key, MergeResult result) {
    const MutexGuard guard(paControllerMtx);
    const auto entry = availablePaSources.find(key);
    if (entry != availablePaSources.end()) {
        publish(availablePaSources, entry, result == MergeResult::Changed,
                &PAControllerObserver::onPaSourceUpdate, EventItem::PA_SOURCE_UPDATED);
    }
}

PaSourceLockStatus* PAController::lockOf(int sourceId) {
    const auto found = lockIndex.find(sourceId);
    return found == lockIndex.end() ? nullptr : &availablePaSourcesLockStatus[found->second];
}

void PAController::updateLockStatus(int sourceId, const std::string& lockedUUID) {
    if (PaSourceLockStatus* const known = lockOf(sourceId); known != nullptr) {
        known->lockedUUID = lockedUUID;
        PASDK_DEBUG(1, "%s: Lock Info for sourceId >%d< updated. Updated UUID >%s<",
                    "addUpdatePaSource", sourceId, lockedUUID.c_str());
        return;
    }
    auto& locks = availablePaSourcesLockStatus;
    locks.push_back({sourceId, lockedUUID});
    lockIndex.emplace(sourceId, locks.size() - 1);
    PASDK_DEBUG(
        1,
        "%s: Lock Info for sourceId >%d<, UUID >%s< added to list. Total available lock info "
        "in list >%zd<",
        "addUpdatePaSource", sourceId, lockedUUID.c_str(), locks.size());
}

void PAController::forgetLocks() {
    availablePaSourcesLockStatus.clear();
    lockIndex.clear();
}

std::vector<PaSource> PAController::getPaSources() const {
    const MutexGuard guard(paControllerMtx);
    return valuesOf(availablePaSources);
}

std::optional<PaSource> PAController::findPaSource(int key) const {
    const MutexGuard guard(paControllerMtx);
    return valueAt(availablePaSources, key);
}

std::vector<PaSourceLockStatus> PAController::getPaSourceLocks() const {
    const MutexGuard guard(paControllerMtx);
    return availablePaSourcesLockStatus;
}
