#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "sdk/PAController.h"

/// @file
/// Records as texts: their members with "|" between them, so that a cache is compared at a glance.

inline void appendMember(std::ostream& out, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        out << text << ';';
    }
}
template <class Value>
void appendMember(std::ostream& out, const Value& value) {
    out << value;
}

template <class... Members>
std::string joined(const Members&... members) {
    std::ostringstream out;
    const char* between = "";
    ((out << between, appendMember(out, members), between = "|"), ...);
    return out.str();
}

inline std::string textOf(const PaSource& s) {
    return joined(s.id, s.location, s.label, s.ipAddress, s.type, s.subAddress, s.state,
                  s.isEnabled, s.inputGain, s.broadcastType, s.healthState, s.targetGainAdjustment,
                  s.priority);
}
inline std::string textOf(const PaSourceLockStatus& lock) {
    return joined(lock.sourceId, lock.lockedUUID);
}
inline std::string textOf(const PaSink& s) {
    return joined(s.id, s.location, s.label, s.ipAddress, s.type, s.typeAsString, s.ampPortList,
                  s.state, s.announcementType, s.outputGain.getLevel(), s.muteState,
                  s.monitoringSinkId, s.healthState, s.paZoneList, s.monitoringEnabled,
                  s.monitoringZoneList, s.mediaLog, s.sinkHasDigitalRoute, s.isEnabled);
}
inline std::string textOf(const PaZone& z) {
    return joined(z.elemNo, z.id, z.activity, z.activityText, z.announcementType,
                  z.announcementTypeText, z.health, z.healthText);
}
inline std::string textOf(const PaTrigger& t) {
    return joined(t.id, t.associatedSourceId, t.label, t.type, t.subAddress, t.priority, t.state,
                  t.associatedSelectorId, t.priorityMode, t.resumeAfterInterruption);
}
inline std::string textOf(const PaSWTrigger& made) {
    return joined(textOf(made.trigger), made.associatedSourceId, made.preChime,
                  made.displayParameters);
}
inline std::string textOf(const PaSelector& s) {
    return joined(s.id, s.associatedSourceId, s.type, s.number, s.label, s.protection, s.mode,
                  s.dynamicRestriction, s.state, s.paZoneList.size());
}
inline std::string textOf(const TTSVocalizer& v) {
    return joined(v.portNo, v.language, v.voice, v.rate, v.text, v.encoding);
}
inline std::string textOf(const TTSDictionary& d) {
    return joined(d.key, d.portNo, d.uuid, d.text, d.fullName, d.size, d.checksum, d.uri);
}
inline std::string textOf(const AnnouncementRequest& r) {
    return joined(r.id, r.getRequestID(), r.stateText, r.startDateTime, r.messageContent,
                  r.getAudioMessageType(), r.getVisualMessageType(), r.zones, r.priorityText,
                  r.completionCode, r.completionMsg);
}

/// The dates of a schedule, and how it is to be played.
inline std::string whenOf(const ScheduleDefinition& s) {
    return joined(s.startYear, s.startMonth, s.startDay, s.startHour, s.startMinute, s.endYear,
                  s.endMonth, s.endDay, s.endHour, s.endMinute, s.dayMask, s.frequency,
                  s.priorityMode, s.priorityLevel);
}
/// What a schedule plays, and where.
inline std::string whatOf(const ScheduleDefinition& s) {
    std::string items;
    for (const unsigned item : s.dictionaryItems) {
        items += std::to_string(item) + ";";
    }
    std::string spoken;
    for (const TTSVocalizer& entry : s.ttsList) {
        spoken += joined(entry.language, entry.voice, entry.rate, entry.text) + ";";
    }
    std::string displayed;
    for (const auto& [key, value] : s.displayTemplateKeyValueList) {
        displayed += key + "=" + value + ";";
    }
    return joined(s.announcementType, s.visualAnnouncementType, s.paZones, items, s.repeatCnt,
                  spoken, s.storedDataSourceId, s.storedDataFilePath, s.displayTemplateName,
                  displayed, s.displayTemplateValidityPeriodSeconds, s.gain, s.chime);
}
inline std::string textOf(const ScheduleDefinition& s) {
    return joined(s.Id, s.descrption, whenOf(s), whatOf(s));
}

/// A line for each record.
template <class Record>
std::string listed(const std::vector<Record>& records) {
    std::string text;
    for (const Record& record : records) {
        text += textOf(record) + "\n";
    }
    return text;
}
