// Withdrawal of records: one table of what is deleted how, and one walk.
#include <optional>
#include <string>
#include <vector>

#include "sdk/PAController.h"
#include "sdk/cacheValues.h"
#include "sdk/globals.h"
#include "sdk/notify.h"
#include "sdk/paDebug.h"

namespace {

/// What an observer is told of a deleted entry, as the log writes it.
std::string asText(int id) {
    return std::to_string(id);
}
std::string asText(const std::string& id) {
    return id;
}
std::string asText(const AnnouncementRequest& request) {
    return request.getRequestID();
}

template <class Record>
auto idOf(const Record& record) {
    return record.id;
}
AnnouncementRequest wholeRequest(const AnnouncementRequest& request) {
    return request;
}

constexpr int attachedZonesKind = 6;

/// Whether a row is concerned: 0 selects every server and every kind.
bool selects(int wanted, int actual) {
    return wanted == 0 || wanted == actual;
}

}  // namespace

/// One kind of record that the server can withdraw.
template <class Record, class Argument>
struct PAController::DeletionRow {
    int kind;
    std::map<int, Record> PAController::*cache;
    int server;  // whose withdrawals concern it
    void (PAControllerObserver::*slot)(Argument);
    Argument (*argument)(const Record&);
    std::optional<EventItem::EVENT_TYPE> event;
    const char* name;  // as the log calls it
    bool notifies = true;
};

/// The rows, in the order in which the caches are visited. Zones attached to sources have none:
/// they go without a word, as a part of their sources.
struct PAController::DeletionTable {
    using Observer = PAControllerObserver;

    // Read once for each withdrawal.
    const int local = gLocalDstNo;
    const int active = gActiveAudioServerDstNo;
    const bool localStandsIn = active == 0 && gIndirectCXSConnection;

    // clang-format off
    DeletionRow<PaSource, int> sources{
        2, &PAController::availablePaSources, local,
        &Observer::onPaSourceDelete, idOf, EventItem::PA_SOURCE_DELETED, "PaSource ID"};
    DeletionRow<PaSink, int> sinks{
        3, &PAController::availablePaSinks, local,
        &Observer::onPaSinkDelete, idOf, EventItem::PA_SINK_DELETED, "PaSink ID"};
    DeletionRow<PaTrigger, int> triggers{
        4, &PAController::availablePaTriggersHW, local,
        &Observer::onPaTriggerDelete, idOf, EventItem::PA_TRIGGER_DELETED, "PaTrigger ID"};
    DeletionRow<PaSelector, int> selectors{
        5, &PAController::availablePaSelectors, local,
        &Observer::onPaSelectorDelete, idOf, EventItem::PA_SELECTOR_DELETED, "PaSelector ID"};
    /// No event: the queue has no type for it.
    DeletionRow<AnnouncementRequest, AnnouncementRequest> requests{
        11, &PAController::activeAnnouncementRequestList, active,
        &Observer::onMessageDelete, wholeRequest, std::nullopt, "Announcement Request UUID"};
    DeletionRow<PaZone, std::string> primaryZones{
        20, &PAController::availablePaZonesPrimaryServer, active,
        &Observer::onPaZoneDelete, idOf, EventItem::PA_ZONE_DELETED, "PaZone ID"};
    /// Told only while the local server stands in for the active one.
    DeletionRow<PaZone, std::string> localZones{
        20, &PAController::availablePaZonesLocalServer, local,
        &Observer::onPaZoneDelete, idOf, EventItem::PA_ZONE_DELETED, "PaZone ID",
        localStandsIn};
    // clang-format on
};

template <class Record, class Argument>
void PAController::deleteEntries(const DeletionRow<Record, Argument>& row, int key) {
    auto& cache = this->*row.cache;
    // Keys, not iterators: an observer may clear what is being walked.
    std::vector<int> keys;
    {
        const LeafGuard leaf(lookupLock);
        for (const auto& entry : cache) {
            if (selects(key, entry.first)) {
                keys.push_back(entry.first);
            }
        }
    }
    const auto lookUp = [&](int entryKey) -> std::optional<Argument> {
        const LeafGuard leaf(lookupLock);
        const auto found = cache.find(entryKey);
        return found == cache.end() ? std::nullopt : std::optional(row.argument(found->second));
    };
    for (const int entryKey : keys) {
        const std::optional<Argument> told = lookUp(entryKey);
        if (!told) {
            continue;
        }
        if (row.notifies) {
            notifyObservers(row.slot, *told);
            if (!lookUp(entryKey)) {
                continue;
            }
        }
        if (row.event) {
            Record& entry = cache.at(entryKey);
            addNewEventItem(*row.event, eventKey(entryKey, entry), &entry);
        }
        PA_DEBUG(1, "%s: %s >%s< deleted", "deleteAudioVideoControllerInfo", row.name,
                 asText(*told).c_str());
        const LeafGuard leaf(lookupLock);
        cache.erase(entryKey);
    }
}

void PAController::deleteAudioVideoControllerInfo(int dstNo, int kind, int key) {
    const MutexGuard guard(paControllerMtx);
    const DeletionTable table;
    const auto visit = [&](const auto& row) PA_REQUIRES(paControllerMtx) {
        if (selects(dstNo, row.server) && selects(kind, row.kind)) {
            deleteEntries(row, key);
        }
    };
    visit(table.sources);
    visit(table.sinks);
    visit(table.triggers);
    visit(table.selectors);
    if (selects(dstNo, table.local) && selects(kind, attachedZonesKind)) {
        eraseFrom(attachedPaZonesToPaSourceList, key);
    }
    visit(table.requests);
    visit(table.primaryZones);
    visit(table.localZones);
}

void PAController::initPaResources() {
    {
        const MutexGuard guard(paControllerMtx);
        availablePaSourcesLockStatus.clear();
    }
    deleteAudioVideoControllerInfo(0, 0, 0);
    deleteFromTTS_Ports(0);
    deleteFromTTS_Dictionary(0);
    // Not under the mutex: this does not wait for a callback that is running.
    const LeafGuard leaf(lookupLock);
    ttsPendingPreviewList.clear();
    activeAnnouncementRequestList.clear();
}
