// The requests for schedules: the checks, the operations, the wait for a new identifier.
#include <optional>

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

std::string prepared(const std::string& text) {
    return Payload().prepared(text).text();
}

Payload audioContent(const ScheduleDefinition& def) {
    Payload content;
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
    return content;
}

// Prepared as a whole: (list of key=value with ^ between, prepared)!validity
Payload visualContent(const ScheduleDefinition& def) {
    if (def.visualAnnouncementType != AT_DISPLAY_TEMPLATE) {
        return {};
    }
    std::vector<std::string> pairs;
    const auto add = [&pairs](const std::string& key, const std::string& value) {
        pairs.push_back(prepared(key) + '=' + prepared(value));
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
    const Payload content = Payload()
                                .prepared(Payload().preparedList(pairs, '^').text())
                                .separator('!')
                                .number(def.displayTemplateValidityPeriodSeconds);
    return Payload().prepared(content.text());
}

// type,origin,zone^zone,content,gain,chime
std::string partText(AnnouncementType type, const std::string& origin,
                     const ScheduleDefinition& def, const Payload& content) {
    Payload part;
    part.number(type).separator(',').plain(origin).separator(',');
    part.preparedList(def.paZones, '^').separator(',').plain(content.text()).separator(',');
    if (def.gain != 0.0) {
        part.level(def.gain);
    }
    return part.separator(',').plain(def.chime).text();
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

    Payload request;
    request.number(def.Id).separator(',');
    request.prepared(requestUUID + requestUUIDEnd + prepared(def.descrption)).separator(',');
    for (const int value :
         {def.startYear, def.startMonth, def.startDay, def.startHour, def.startMinute, def.endYear,
          def.endMonth, def.endDay, def.endHour, def.endMinute, def.dayMask, def.frequency}) {
        request.number(value).separator(',');
    }
    request.plain("1,\"\",");
    request.number(def.priorityMode).separator(',').number(def.priorityLevel).separator(',');
    const std::string origin = originText(load(gLocalDstNo));
    if (def.announcementType != AT_NONE) {
        request.prepared(partText(def.announcementType, origin, def, audioContent(def)));
    }
    if (def.visualAnnouncementType != AT_NONE) {
        request.prepared(partText(def.visualAnnouncementType, origin, def, visualContent(def)));
    }
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
