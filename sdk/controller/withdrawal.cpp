// SPDX-License-Identifier: Apache-2.0
// Withdrawal of records: a table with a row for each cache, and one loop.
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/globals.h"
#include "sdk/paDebug.h"
#include "sdk/recordKinds.h"
#include "sdk/records/cacheValues.h"
#include "sdk/requests/scheduleDescription.h"

using namespace pa;

namespace {

/// The argument of a delete callback, as the log writes it.
std::string asText(int id) {
    return std::to_string(id);
}
std::string asText(const std::string& id) {
    return id;
}
std::string asText(const AnnouncementRequest& request) {
    return request.getRequestID();
}
std::string asText(const ScheduleDefinition& schedule) {
    return std::to_string(schedule.Id);
}

template <class Record>
auto idOf(const Record& record) {
    return record.id;
}
AnnouncementRequest wholeRequest(const AnnouncementRequest& request) {
    return request;
}
ScheduleDefinition asApplicationKnowsIt(const ScheduleDefinition& schedule) {
    return withoutRequestUUID(schedule);
}

// A cache is that of the schedules, or one by key.

template <class Cache>
typename Cache::mapped_type* find(Cache& cache, int key) {
    const auto found = cache.find(key);
    return found == cache.end() ? nullptr : &found->second;
}
ScheduleDefinition* find(ScheduleCache& cache, int key) {
    return cache.find(key);
}
template <class Cache>
using RecordOf = std::remove_pointer_t<decltype(find(std::declval<Cache&>(), 0))>;

/// As of a map, in the order of arrival.
std::vector<int> keysOf(const ScheduleCache& cache) {
    return cache.ids();
}

/// Whether a row is concerned: 0 selects every server and every kind.
bool selects(int wanted, int actual) {
    return wanted == 0 || wanted == actual;
}

}  // namespace

/// A cache whose records the server can withdraw.
template <class Cache, class Argument>
struct PAController::WithdrawalRow {
    Cache PAController::*cache;
    int server;  // the server whose withdrawals concern it
    void (PAControllerObserver::*slot)(Argument);
    Argument (*argument)(const RecordOf<Cache>&);
    std::optional<EventItem::EVENT_TYPE> event;
    const char* name;  // in the log; null: not logged
    bool notifies = true;
};

/// The rows. Zones attached to sources have none: their deletion is neither reported nor logged.
struct PAController::WithdrawalTable {
    using Observer = PAControllerObserver;

    // Read once for each withdrawal.
    const int local = load(gLocalDstNo);
    const int active = load(gActiveAudioServerDstNo);
    const bool localReplacesActive = active == 0 && load(gIndirectCXSConnection);

    // clang-format off
    WithdrawalRow<RecordCache<PaSource>, int> sources{
        &PAController::availablePaSources, local,
        &Observer::onPaSourceDelete, idOf, EventItem::PA_SOURCE_DELETED, "PaSource ID"};
    WithdrawalRow<RecordCache<PaSink>, int> sinks{
        &PAController::availablePaSinks, local,
        &Observer::onPaSinkDelete, idOf, EventItem::PA_SINK_DELETED, "PaSink ID"};
    WithdrawalRow<RecordCache<PaTrigger>, int> triggers{
        &PAController::availablePaTriggersHW, local,
        &Observer::onPaTriggerDelete, idOf, EventItem::PA_TRIGGER_DELETED, "PaTrigger ID"};
    WithdrawalRow<RecordCache<PaSelector>, int> selectors{
        &PAController::availablePaSelectors, local,
        &Observer::onPaSelectorDelete, idOf, EventItem::PA_SELECTOR_DELETED, "PaSelector ID"};
    /// No event: the queue has no type for it.
    WithdrawalRow<RecordCache<AnnouncementRequest>, AnnouncementRequest> requests{
        &PAController::activeAnnouncementRequestList, active,
        &Observer::onMessageDelete, wholeRequest, std::nullopt, "Announcement Request UUID"};
    WithdrawalRow<RecordCache<PaZone>, std::string> primaryZones{
        &PAController::availablePaZonesPrimaryServer, active,
        &Observer::onPaZoneDelete, idOf, EventItem::PA_ZONE_DELETED, "PaZone ID"};
    /// Reported only while the local server replaces the active one.
    WithdrawalRow<RecordCache<PaZone>, std::string> localZones{
        &PAController::availablePaZonesLocalServer, local,
        &Observer::onPaZoneDelete, idOf, EventItem::PA_ZONE_DELETED, "PaZone ID",
        localReplacesActive};
    WithdrawalRow<ScheduleCache, ScheduleDefinition> schedules{
        &PAController::scheduleList, active,
        &Observer::onScheduleDelete, asApplicationKnowsIt, EventItem::SCHEDULE_DELETED, nullptr};
    // clang-format on
};

template <class Cache, class Argument>
void PAController::deleteEntries(const WithdrawalRow<Cache, Argument>& row, int key) {
    Cache& cache = this->*row.cache;
    // Keys, not iterators: a callback may change the cache.
    std::vector<int> keys{key};
    if (key == 0) {
        const LeafGuard leaf(lookupLock);
        keys = keysOf(cache);
    }
    const auto lookUp = [&](int entryKey) -> std::optional<Argument> {
        const LeafGuard leaf(lookupLock);
        const auto* const entry = find(cache, entryKey);
        return entry == nullptr ? std::nullopt : std::optional(row.argument(*entry));
    };
    const auto isPresent = [&](int entryKey) {
        const LeafGuard leaf(lookupLock);
        return find(cache, entryKey) != nullptr;
    };
    for (const int entryKey : keys) {
        const std::optional<Argument> argument = lookUp(entryKey);
        if (!argument) {
            continue;
        }
        if (row.notifies) {
            notifyObservers(row.slot, *argument);
            if (!isPresent(entryKey)) {
                continue;
            }
        }
        if (row.event) {
            auto* const entry = find(cache, entryKey);
            addNewEventItem(*row.event, eventKey(entryKey, *entry), entry);
        }
        if (row.name != nullptr) {
            PASDK_DEBUG(1, "%s: %s >%s< deleted", "deleteAudioVideoControllerInfo", row.name,
                        asText(*argument).c_str());
        }
        const LeafGuard leaf(lookupLock);
        cache.erase(entryKey);
    }
}

void PAController::deleteAudioVideoControllerInfo(int dstNo, int kind, int key) {
    const MutexGuard guard(paControllerMtx);
    withdrawals.waiting.push_back({dstNo, kind, key});
    if (!withdrawals.isRunning) {
        runWithdrawals();
    }
}

/// Carries out the waiting requests, and those of the callbacks.
void PAController::runWithdrawals() {
    withdrawals.isRunning = true;
    while (!withdrawals.waiting.empty()) {
        const WithdrawalRequest next = withdrawals.waiting.front();
        withdrawals.waiting.pop_front();
        try {
            removeWithdrawn(next);
        } catch (...) {
            withdrawals = {};
            throw;
        }
    }
    withdrawals.isRunning = false;
    if (std::exchange(withdrawals.resetWaits, false)) {
        initPaResources();
    }
}

void PAController::removeWithdrawn(const WithdrawalRequest& withdrawal) {
    const WithdrawalTable table;
    const auto visit = [&](const auto& row) PASDK_REQUIRES(paControllerMtx) {
        if (selects(withdrawal.dstNo, row.server)) {
            deleteEntries(row, withdrawal.key);
        }
    };
    // The compiler refuses a kind without a case, and a second case for one.
    const auto visitCachesOf = [&](RecordKind kind) PASDK_REQUIRES(paControllerMtx) {
        switch (kind) {
            case RecordKind::Source:
                return visit(table.sources);
            case RecordKind::Sink:
                return visit(table.sinks);
            case RecordKind::Trigger:
                return visit(table.triggers);
            case RecordKind::Selector:
                return visit(table.selectors);
            case RecordKind::AttachedZones:
                if (selects(withdrawal.dstNo, table.local)) {
                    eraseFrom(attachedPaZonesToPaSourceList, withdrawal.key);
                }
                return;
            case RecordKind::Announcement:
                return visit(table.requests);
            case RecordKind::Zone:
                visit(table.primaryZones);
                return visit(table.localZones);
            case RecordKind::Schedule:
                return visit(table.schedules);
            case RecordKind::Any:
            case RecordKind::TtsPort:
            case RecordKind::TtsDictionary:
                return;  // not withdrawn by number
        }
    };
    for (const RecordKindRow& row : recordKinds) {
        if (row.withdrawal == KindWithdrawal::ByNumber &&
            selects(withdrawal.kind, static_cast<int>(row.kind))) {
            visitCachesOf(row.kind);
        }
    }
}

void PAController::initPaResources() {
    {
        const MutexGuard guard(paControllerMtx);
        if (withdrawals.isRunning) {
            withdrawals.resetWaits = true;
            return;
        }
        forgetLocks();
    }
    deleteAudioVideoControllerInfo(0, 0, 0);
    deleteFromTTS_Ports(0);
    deleteFromTTS_Dictionary(0);
    // Not under the mutex: this does not wait for a callback that is running.
    const LeafGuard leaf(lookupLock);
    ttsPendingPreviewList.clear();
    activeAnnouncementRequestList.clear();
}
