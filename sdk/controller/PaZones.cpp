// SPDX-License-Identifier: Apache-2.0
// PA zones: record, attached zones, caches, queries, members.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "resource/common/stringUtils.h"
#include "sdk/AudioServer.h"
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

constexpr Column<PaZone> columns[] = {
    translated<&PaZone::id>,
    skipped,  // 1
    integer<&PaZone::activity>,
    asReceived<&PaZone::activityText>,
    integer<&PaZone::announcementType>,
    asReceived<&PaZone::announcementTypeText>,
    integer<&PaZone::health>,
    asReceived<&PaZone::healthText>,
};

/// The health is not among them: a zone keeps the one that it was added with.
constexpr Field<PaZone> fields[] = {
    byValue<&PaZone::id>,
    byValue<&PaZone::activity>,
    byValue<&PaZone::activityText>,
    byValue<&PaZone::announcementType>,
    byValue<&PaZone::announcementTypeText>,
};

struct ZoneIds {
    std::vector<std::string> ids;
};

/// The zones that are attached to a source, and the text of their list.
struct AttachedZonesRecord : KeepsTexts<ZoneIds, &ZoneIds::ids> {
    std::string zones;
};

constexpr Column<AttachedZonesRecord> attachedZonesColumns[] = {
    [](AttachedZonesRecord& record, const char* text) {
        translated<&AttachedZonesRecord::zones>(record, text);
        record.assignTexts(TokenReader(record.zones.data(), '^'));
    },
};

bool isActiveServer(int dstNo, int localServer) {
    const int active = load(gActiveAudioServerDstNo);
    return dstNo == active || (active == 0 && dstNo == localServer);
}

/// Whether `listed`, an entry of a sink's zone list, is the zone or one of its sub-zones.
bool isWithin(const std::string& listed, const std::string& zoneId) {
    return listed.size() >= zoneId.size() &&
           std::equal(zoneId.begin(), zoneId.end(), listed.begin(),
                      [](char a, char b) { return asciiLower(a) == asciiLower(b); }) &&
           (listed.size() == zoneId.size() || listed[zoneId.size()] == '/');
}

}  // namespace

void PAController::addUpdatePaZone(int dstNo, int elemNo, TEVlist* elemArgList) {
    if (dstNo == 0 || elemNo == 0 || elemArgList == nullptr) {
        return;
    }
    PaZone decoded;
    decodeRecord<columns>(*elemArgList, decoded);

    const int localServer = load(gLocalDstNo);
    const MutexGuard guard(paControllerMtx);
    auto& cache = load(gIndirectCXSConnection) && dstNo == localServer
                      ? availablePaZonesLocalServer
                      : availablePaZonesPrimaryServer;
    const auto [entry, merged] = mergeRecord<fields>(cache, elemNo, decoded, matchByKey<PaZone>);
    if (merged == Merge::Unchanged) {
        return;
    }
    const std::string& zoneId = entry->second.id;
    if (merged == Merge::Updated) {
        PASDK_DEBUG(1, "%s: updated key >%d< PaZone Label >%s<", "addUpdatePaZone", elemNo,
                    zoneId.c_str());
    } else {
        PASDK_DEBUG(1, "%s: PaZone added to local cache: key >%d< PaZone Label >%s<",
                    "addUpdatePaZone", elemNo, zoneId.c_str());
    }
    if (isActiveServer(dstNo, localServer) && !observers().empty()) {
        publish(cache, entry, true, &PAControllerObserver::onPaZoneUpdate,
                EventItem::PA_ZONE_UPDATED);
    }
}

void PAController::addUpdateAttachedPaZone(int elemNo, TEVlist* elemArgList) {
    if (!hasRecord(elemArgList, "addUpdateAttachedPaZone", elemNo)) {
        return;
    }
    BlankRecord<AttachedZonesRecord> blank;
    decodeRecord<attachedZonesColumns>(*elemArgList, *blank);
    std::vector<std::string>& ids = blank->ids;
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());

    const MutexGuard guard(paControllerMtx);
    std::set<std::string>& attached = attachedPaZonesToPaSourceList[elemNo];
    if (!std::equal(attached.begin(), attached.end(), ids.begin(), ids.end())) {
        attached = std::set<std::string>(ids.begin(), ids.end());
    }
}

void PAController::getAttachedPaZoneList(int sourceId,
                                         std::vector<std::string>* attachedPaZoneList) const {
    const MutexGuard guard(paControllerMtx);
    const auto found = attachedPaZonesToPaSourceList.find(sourceId);
    if (found != attachedPaZonesToPaSourceList.end()) {
        attachedPaZoneList->insert(attachedPaZoneList->end(), found->second.begin(),
                                   found->second.end());
    }
}

std::vector<PaZone> PAController::getPaZones() const {
    const MutexGuard guard(paControllerMtx);
    if (load(gActiveAudioServerDstNo) >= 1) {
        return valuesOf(availablePaZonesPrimaryServer);
    }
    return load(gIndirectCXSConnection) ? valuesOf(availablePaZonesLocalServer)
                                        : std::vector<PaZone>();
}

std::optional<PaZone> PAController::findPaZone(int key) const {
    const MutexGuard guard(paControllerMtx);
    const int active = load(gActiveAudioServerDstNo);
    const bool isLocal =
        load(gIndirectCXSConnection) && (active < 1 || active == load(gLocalDstNo));
    return valueAt(isLocal ? availablePaZonesLocalServer : availablePaZonesPrimaryServer, key);
}

std::vector<PaSink> PaZone::getMembers() const {
    AudioServer* const audioServer = load(gAudioServerInstance);
    if (audioServer == nullptr) {
        return {};
    }
    std::vector<PaSink> members;
    for (const PaSink& sink : audioServer->getPAController().getPaSinks()) {
        // A sink that lists the zone and its sub-zones is a member for each.
        for (const std::string& listed : sink.paZoneList) {
            if (isWithin(listed, id)) {
                members.push_back(sink);
            }
        }
    }
    return members;
}
