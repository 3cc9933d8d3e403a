// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "../link/Transport.h"
#include "../resource/common/paInfo.h"
#include "../sdk/AnnouncementRequest.h"
#include "../sdk/ScheduleDefinition.h"
#include "../sdk/TTSDictionary.h"
#include "Endpoint.h"
#include "describe.h"

/// @file
/// The members of each record, and the records that are joined from several of the controller's:
/// plain values.

namespace paclient {

/// A trigger of either kind; `associatedSourceId` is set for both.
struct AnyTrigger : PaTrigger {
    std::string kind;               ///< "hardware" or "software"
    std::string preChime;           ///< of a software trigger
    std::string displayParameters;  ///< of a software trigger
};

/// A schedule, with texts for people.
struct ScheduleEntry : ScheduleDefinition {
    std::string periodText;   ///< "2026-12-01 to 2026-12-31"
    std::string daysText;     ///< "mon-fri,sun"
    std::string timesText;    ///< "06:00 to 22:00 every 15 min"
    std::string contentText;  ///< the audio part and the visual part
    std::string nextRun;      ///< "2026-12-01T06:00" in the station's time, empty for none
};

/// The lock of a source and its holder.
struct SourceLock : PaSourceLockStatus {
    std::string holder;  ///< "this client", "another client" or "no client"
};

template <>
struct Members<PaSource> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
        visit("location", record.location);
        visit("label", record.label);
        visit("ipAddress", record.ipAddress);
        visit("type", record.type);
        visit("subAddress", record.subAddress);
        visit("state", record.state);
        visit("isEnabled", record.isEnabled);
        visit("inputGain", record.inputGain);
        visit("broadcastType", record.broadcastType);
        visit("healthState", record.healthState);
        visit("targetGainAdjustment", record.targetGainAdjustment);
        visit("priority", record.priority);
    }
};

template <>
struct Members<PaSink> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
        visit("tbn_kplPort", record.tbn_kplPort);
        visit("location", record.location);
        visit("label", record.label);
        visit("ipAddress", record.ipAddress);
        visit("type", record.type);
        visit("ampPortList", record.ampPortList);
        visit("state", record.state);
        visit("announcementType", record.announcementType);
        visit("outputGain", record.outputGain);
        visit("muteState", record.muteState);
        visit("monitoringSinkId", record.monitoringSinkId);
        visit("sinkHasDigitalRoute", record.sinkHasDigitalRoute);
        visit("serverToUseSinkId", record.serverToUseSinkId);
        visit("realDeviceDstNo", record.realDeviceDstNo);
        visit("healthState", record.healthState);
        visit("isEnabled", record.isEnabled);
        visit("dspOutputChannelList", record.dspOutputChannelList);
        visit("relayDstNo", record.relayDstNo);
        visit("broadcastType", record.broadcastType);
        visit("paZoneList", record.paZoneList);
        visit("monitoringZoneList", record.monitoringZoneList);
        visit("monitoringEnabled", record.monitoringEnabled);
        visit("mediaLog", record.mediaLog);
    }
};

template <>
struct Members<PaZone> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("elemNo", record.elemNo);
        visit("id", record.id);
        visit("activity", record.activity);
        visit("activityText", record.activityText);
        visit("announcementType", record.announcementType);
        visit("announcementTypeText", record.announcementTypeText);
        visit("health", record.health);
        visit("healthText", record.healthText);
    }
};

template <>
struct Members<TTSVocalizer> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("portNo", record.portNo);
        visit("text", record.text);
        visit("language", record.language);
        visit("voice", record.voice);
        visit("rate", record.rate);
        visit("encoding", record.encoding);
    }
};

template <>
struct Members<AnnouncementRequest> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
        visit("requestId", record.getRequestID());
        visit("audioMessageType", record.getAudioMessageType());
        visit("visualMessageType", record.getVisualMessageType());
        visit("stateText", record.stateText);
        visit("startDateTime", record.startDateTime);
        visit("messageContent", record.messageContent);
        visit("priorityText", record.priorityText);
        visit("zones", record.zones);
        visit("completionCode", record.completionCode);
        visit("completionMsg", record.completionMsg);
    }
};

template <>
struct Members<PaTrigger> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
        visit("associatedSourceId", record.associatedSourceId);
        visit("associatedSelectorId", record.associatedSelectorId);
        visit("label", record.label);
        visit("type", record.type);
        visit("subAddress", record.subAddress);
        visit("priority", record.priority);
        visit("priorityMode", record.priorityMode);
        visit("state", record.state);
        visit("resumeAfterInterruption", record.resumeAfterInterruption);
    }
};

template <>
struct Members<PaSWTrigger> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("trigger", record.trigger);
        visit("associatedSourceId", record.associatedSourceId);
        visit("preChime", record.preChime);
        visit("displayParameters", record.displayParameters);
    }
};

template <>
struct Members<AnyTrigger> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("kind", record.kind);
        Members<PaTrigger>::visit(record, visit);
        visit("preChime", record.preChime);
        visit("displayParameters", record.displayParameters);
    }
};

/// The zones in order of their numbers.
inline std::vector<std::string> selectorZones(const PaSelector& selector) {
    std::vector<std::string> ids;
    for (const auto& zone : selector.paZoneList) {
        ids.push_back(zone.second);
    }
    return ids;
}

template <>
struct Members<PaSelector> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
        visit("associatedSourceId", record.associatedSourceId);
        visit("label", record.label);
        visit("type", record.type);
        visit("number", record.number);
        visit("protection", record.protection);
        visit("mode", record.mode);
        visit("dynamicRestriction", record.dynamicRestriction);
        visit("state", record.state);
        visit("paZoneList", selectorZones(record));
    }
};

template <>
struct Members<TTSDictionary> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("key", record.key);
        visit("portNo", record.portNo);
        visit("text", record.text);
        visit("fullName", record.fullName);
        visit("size", record.size);
        visit("checksum", record.checksum);
        visit("uuid", record.uuid);
        visit("uri", record.uri);
    }
};

template <>
struct Members<ScheduleDefinition> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("Id", record.Id);
        visit("descrption", record.descrption);
        visit("startYear", record.startYear);
        visit("startMonth", record.startMonth);
        visit("startDay", record.startDay);
        visit("startHour", record.startHour);
        visit("startMinute", record.startMinute);
        visit("endYear", record.endYear);
        visit("endMonth", record.endMonth);
        visit("endDay", record.endDay);
        visit("endHour", record.endHour);
        visit("endMinute", record.endMinute);
        visit("dayMask", record.dayMask);
        visit("frequency", record.frequency);
        visit("paZones", record.paZones);
        visit("priorityMode", record.priorityMode);
        visit("priorityLevel", record.priorityLevel);
        visit("announcementType", record.announcementType);
        visit("visualAnnouncementType", record.visualAnnouncementType);
        visit("dictionaryItems", record.dictionaryItems);
        visit("repeatCnt", record.repeatCnt);
        visit("ttsList", record.ttsList);
        visit("storedDataSourceId", record.storedDataSourceId);
        visit("storedDataFilePath", record.storedDataFilePath);
        visit("displayTemplateName", record.displayTemplateName);
        visit("displayTemplateKeyValueList", record.displayTemplateKeyValueList);
        visit("displayTemplateValidityPeriodSeconds", record.displayTemplateValidityPeriodSeconds);
        visit("gain", record.gain);
        visit("chime", record.chime);
    }
};

template <>
struct Members<ScheduleEntry> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        Members<ScheduleDefinition>::visit(record, visit);
        visit("periodText", record.periodText);
        visit("daysText", record.daysText);
        visit("timesText", record.timesText);
        visit("contentText", record.contentText);
        visit("nextRun", record.nextRun);
    }
};

template <>
struct Members<PaSourceLockStatus> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("sourceId", record.sourceId);
        visit("lockedUUID", record.lockedUUID);
    }
};

template <>
struct Members<SourceLock> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("sourceId", record.sourceId);
        visit("lockedUUID", record.lockedUUID);
        visit("holder", record.holder);
    }
};

template <>
struct Members<palink::LevelReading> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("element", record.element);
        visit("level", record.level);
    }
};

template <>
struct Members<palink::Refusal> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("operationClass", record.operation.classNo);
        visit("operationNumber", record.operation.number);
        visit("requestId", record.requestId);
        visit("reason", record.reason);
    }
};

template <>
struct Members<LinkReport> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("synced", record.synced);
        visit("forSeconds", record.forSeconds);
        visit("problem", record.problem);
        visit("generation", record.generation);
        visit("requests", record.requests);
        visit("queued", record.queued);
        visit("unanswered", record.unanswered);
        visit("dropped", record.dropped);
        visit("fetchedAgain", record.fetchedAgain);
    }
};

}  // namespace paclient
