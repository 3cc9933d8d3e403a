// SPDX-License-Identifier: Apache-2.0
// The requests for schedules: the checks, the operations, the wait for a new identifier.
#include <optional>
#include <string_view>
#include <utility>

#include "framework/clock.h"
#include "framework/uuid.h"
#include "sdk/PAController.h"
#include "sdk/paDebug.h"
#include "sdk/requests/checks.h"
#include "sdk/requests/queueOperation.h"
#include "sdk/requests/requestParts.h"
#include "sdk/requests/scheduleDescription.h"
#include "sdk/requests/serverWait.h"

using namespace pa;

namespace {

bool isSpoken(AnnouncementType type) {
    return type == AT_TTS || type == AT_TTS_SAF;
}
bool isStored(AnnouncementType type) {
    return type == AT_STORED_DATA || type == AT_STORED_DATA_SAF;
}

void check(const ScheduleDefinition& def) {
    require(def.announcementType != AT_NONE || def.visualAnnouncementType != AT_NONE,
            "announcement type not set for audio/display");
    require(def.announcementType != AT_TEV || !def.dictionaryItems.empty(),
            "dictionary items not defined for announcement type TEV");
    require(!isSpoken(def.announcementType) || !def.ttsList.empty(), "empty TTS entries");
    require(def.visualAnnouncementType != AT_DISPLAY_TEMPLATE || !def.displayTemplateName.empty() ||
                !def.displayTemplateKeyValueList.empty(),
            "template name OR variable list not specified for announcement type DISPLAY_TEMPLATE");
    require(!def.paZones.empty(), "audio zones not defined");
}

void appendAudio(Payload& content, const ScheduleDefinition& def) {
    if (def.announcementType == AT_TEV) {
        content.list(def.dictionaryItems, '^', [](Payload& p, unsigned item) { p.number(item); })
            .separator('!')
            .number(def.repeatCnt);
    } else if (isSpoken(def.announcementType)) {
        content.list(def.ttsList, '!', [](Payload& p, const TTSVocalizer& spoken) {
            appendSpoken(p, spoken, TTSVocalizer::usableRate);
        });
    } else if (isStored(def.announcementType)) {
        content.number(def.storedDataSourceId).separator('^').plain(def.storedDataFilePath);
    }
}

/// Pairs key=value with ^ between, each prepared as a whole.
void appendPairs(Payload& list, const ScheduleDefinition& def) {
    bool first = true;
    const auto add = [&](std::string_view key, std::string_view value) {
        if (!std::exchange(first, false)) {
            list.separator('^');
        }
        list.nested([&](Payload& pair) { pair.prepared(key).separator('=').prepared(value); });
    };
    for (const auto& [key, value] : def.displayTemplateKeyValueList) {
        if (key.empty()) {
            handleError(1,
                        "%s: std::map contains empty key for display template variable list. not "
                        "processing",
                        "createScheduleHelper");
            continue;
        }
        add(key, value);
    }
    if (!def.displayTemplateName.empty()) {
        add("{SCREEN}", def.displayTemplateName);
    }
}

// Prepared as a whole: (pairs, prepared)!validity
void appendVisual(Payload& part, const ScheduleDefinition& def) {
    if (def.visualAnnouncementType != AT_DISPLAY_TEMPLATE) {
        return;
    }
    part.nested([&](Payload& content) {
        content.nested([&](Payload& list) { appendPairs(list, def); });
        content.separator('!').number(def.displayTemplateValidityPeriodSeconds);
    });
}

// type,origin,zone^zone,content,gain,chime
void appendPart(Payload& request, AnnouncementType type, std::string_view origin,
                const ScheduleDefinition& def,
                void (*appendContent)(Payload&, const ScheduleDefinition&)) {
    if (type == AT_NONE) {
        return;
    }
    request.nested([&](Payload& part) {
        part.number(type).separator(',').plain(origin);
        part.separator(',').preparedList(def.paZones, '^').separator(',');
        appendContent(part, def);
        part.separator(',');
        if (def.gain != 0.0) {
            part.level(def.gain);
        }
        part.separator(',').plain(def.chime);
    });
}

}  // namespace

void PAController::createSchedule(const ScheduleDefinition& def) {
    createScheduleHelper(false, def);
}

void PAController::modifySchedule(const ScheduleDefinition& def) {
    createScheduleHelper(false, def);
}

// Operation 92/19: id,description,start,end,dayMask,frequency,1,"",mode,level,[audio][visual]
// Start and end are year,month,day,hour,minute each; nothing separates the parts.
std::string PAController::createScheduleHelper(bool serverAssignsId,
                                               const ScheduleDefinition& def) {
    require(serverAssignsId ? def.Id == 0 : def.Id > 0, "invalid scheduleId");
    check(def);
    std::string requestUUID;
    generateUUID(requestUUID);

    Payload request(usualRequestSize);
    request.number(def.Id).separator(',');
    request.nested([&](Payload& description) {
        description.plain(requestUUID).separator(requestUUIDEnd).prepared(def.descrption);
    });
    request.separator(',');
    for (const int value :
         {def.startYear, def.startMonth, def.startDay, def.startHour, def.startMinute, def.endYear,
          def.endMonth, def.endDay, def.endHour, def.endMinute, def.dayMask, def.frequency}) {
        request.number(value).separator(',');
    }
    request.plain("1,\"\",");
    request.number(def.priorityMode).separator(',').number(def.priorityLevel).separator(',');
    const std::string origin = originText(load(gLocalDstNo));
    appendPart(request, def.announcementType, origin, def, appendAudio);
    appendPart(request, def.visualAnnouncementType, origin, def, appendVisual);
    queueOperation(destination::directLink, operations::putSchedule, request);
    return requestUUID;
}

int PAController::createScheduleSync(const ScheduleDefinition& def) {
    const std::string requestUUID = createScheduleHelper(true, def);
    std::optional<int> id;
    if (mayWaitForServer("createScheduleSync")) {
        id = waitForServer(wallClock(), [&] { return idOfRequest(requestUUID); });
    }
    require(id.has_value(), "operation timed out");
    return *id;
}

/// The identifier of the schedule that a request has made, once the server has reported it.
std::optional<int> PAController::idOfRequest(const std::string& requestUUID) {
    const MutexGuard guard(paControllerMtx);
    const LeafGuard leaf(lookupLock);
    return scheduleList.idOfRequest(requestUUID);
}

// Operation 92/20: id
void PAController::deleteSchedule(int scheduleId) {
    require(scheduleId > 0, "Invalid scheduleId");
    {
        const LeafGuard leaf(lookupLock);
        if (scheduleList.find(scheduleId) == nullptr) {
            return;
        }
    }
    queueOperation(destination::directLink, operations::deleteSchedule,
                   Payload().number(scheduleId));
    PASDK_DEBUG(2, "%s: request sent to AS to delete schduleId >%d<", "deleteSchedule", scheduleId);
}
