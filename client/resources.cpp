// SPDX-License-Identifier: Apache-2.0
#include "client/resources.h"

#include <algorithm>

#include "client/confirmedOperations.h"
#include "client/scheduleText.h"
#include "sdk/PAController.h"

namespace paclient {

std::vector<PaSource> allSources() {
    return gPaController.getPaSources();
}

std::vector<PaSink> allSinks() {
    return gPaController.getPaSinks();
}

std::vector<PaZone> allZones() {
    return gPaController.getPaZones();
}

std::vector<TTSVocalizer> allVoices() {
    return gPaController.getTTSVocalizerList();
}

std::vector<AnnouncementRequest> allAnnouncements() {
    return gPaController.getAnnouncementRequests();
}

std::vector<AnyTrigger> allTriggers() {
    std::vector<AnyTrigger> result;
    for (const PaTrigger& trigger : gPaController.getHwPaTriggers()) {
        result.push_back({trigger, "hardware", "", ""});
    }
    for (const PaSWTrigger& own : gPaController.getSwPaTriggers()) {
        result.push_back({own.trigger, "software", own.preChime, own.displayParameters});
        result.back().associatedSourceId = own.associatedSourceId;
    }
    return result;
}

std::vector<PaSelector> allSelectors() {
    return gPaController.getPaSelectors();
}

std::vector<ScheduleEntry> allSchedules() {
    std::vector<ScheduleEntry> result;
    for (const ScheduleDefinition& definition : gPaController.listSchedules()) {
        result.push_back(described(definition));
    }
    std::sort(result.begin(), result.end(),
              [](const ScheduleEntry& a, const ScheduleEntry& b) { return a.Id < b.Id; });
    return result;
}

std::vector<TTSDictionary> allTtsItems() {
    return gPaController.getTTSDictionaryList();
}

std::vector<SourceLock> allLocks() {
    std::vector<SourceLock> result;
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        result.push_back(withHolder(lock));
    }
    std::sort(result.begin(), result.end(),
              [](const SourceLock& a, const SourceLock& b) { return a.sourceId < b.sourceId; });
    return result;
}

SourceLock withHolder(const PaSourceLockStatus& lock) {
    if (lock.lockedUUID.empty()) {
        return {lock, "no client"};
    }
    return {lock, lock.lockedUUID == ownUUID() ? "this client" : "another client"};
}

SourceLock lockOf(int sourceId) {
    for (const SourceLock& lock : allLocks()) {
        if (lock.sourceId == sourceId) {
            return lock;
        }
    }
    return withHolder({sourceId, ""});
}

}  // namespace paclient
