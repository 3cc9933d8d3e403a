#pragma once

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "link/Transport.h"
#include "resource/common/paInfo.h"
#include "sdk/AnnouncementRequest.h"
#include "sdk/PAControllerObserver.h"
#include "sdk/ScheduleDefinition.h"
#include "sdk/TTSDictionary.h"

/// @file
/// The members of each record, once: what is printed of it, by name and in order.

namespace console {

/// A resource that is gone, by its number or its name.
struct GoneNumber {
    int id;
};
struct GoneName {
    std::string id;
};

/// A trigger of either kind; `associatedSourceId` is set for both.
struct Trigger : PaTrigger {
    std::string kind;               ///< "hardware" or "software"
    std::string preChime;           ///< of a software trigger
    std::string displayParameters;  ///< of a software trigger
};

/// A schedule with what is told of it beside what it is.
struct Schedule : ScheduleDefinition {
    std::string periodText;   ///< "2026-12-01 to 2026-12-31"
    std::string daysText;     ///< "mon-fri,sun"
    std::string timesText;    ///< "06:00 to 22:00 every 15 min"
    std::string contentText;  ///< what is heard and shown
    std::string nextRun;      ///< "2026-12-01T06:00" in the station's time, empty for none
};

/// Who holds the lock of a source.
struct Lock {
    int sourceId;
    std::string lockedUUID;  ///< empty for nobody
    std::string holder;      ///< "this client", "another client" or "nobody"
};

/// An audio retrieval has ended.
struct Retrieval {
    std::string requestId;
    bool success;
    PAControllerObserver::MessageRetrievalError error;
    std::string uri;
};

/// One member of a record.
template <class Reader>
struct Member {
    constexpr Member(const char* memberName, Reader reader) : name(memberName), read(reader) {}

    const char* name;
    Reader read;  ///< a pointer to the member or to its getter
};

inline constexpr std::tuple sourceMembers{
    Member{"id", &PaSource::id},
    Member{"location", &PaSource::location},
    Member{"label", &PaSource::label},
    Member{"ipAddress", &PaSource::ipAddress},
    Member{"type", &PaSource::type},
    Member{"subAddress", &PaSource::subAddress},
    Member{"state", &PaSource::state},
    Member{"isEnabled", &PaSource::isEnabled},
    Member{"inputGain", &PaSource::inputGain},
    Member{"broadcastType", &PaSource::broadcastType},
    Member{"healthState", &PaSource::healthState},
    Member{"targetGainAdjustment", &PaSource::targetGainAdjustment},
    Member{"priority", &PaSource::priority},
};

inline constexpr std::tuple sinkMembers{
    Member{"id", &PaSink::id},
    Member{"tbn_kplPort", &PaSink::tbn_kplPort},
    Member{"location", &PaSink::location},
    Member{"label", &PaSink::label},
    Member{"ipAddress", &PaSink::ipAddress},
    Member{"type", &PaSink::type},
    Member{"typeAsString", &PaSink::typeAsString},
    Member{"ampPortList", &PaSink::ampPortList},
    Member{"state", &PaSink::state},
    Member{"announcementType", &PaSink::announcementType},
    Member{"outputGain", &PaSink::outputGain},
    Member{"muteState", &PaSink::muteState},
    Member{"monitoringSinkId", &PaSink::monitoringSinkId},
    Member{"sinkHasDigitalRoute", &PaSink::sinkHasDigitalRoute},
    Member{"serverToUseSinkId", &PaSink::serverToUseSinkId},
    Member{"realDeviceDstNo", &PaSink::realDeviceDstNo},
    Member{"healthState", &PaSink::healthState},
    Member{"isEnabled", &PaSink::isEnabled},
    Member{"dspOutputChannelList", &PaSink::dspOutputChannelList},
    Member{"relayDstNo", &PaSink::relayDstNo},
    Member{"broadcastType", &PaSink::broadcastType},
    Member{"paZoneList", &PaSink::paZoneList},
    Member{"monitoringZoneList", &PaSink::monitoringZoneList},
    Member{"monitoringEnabled", &PaSink::monitoringEnabled},
    Member{"mediaLog", &PaSink::mediaLog},
};

inline constexpr std::tuple zoneMembers{
    Member{"elemNo", &PaZone::elemNo},
    Member{"id", &PaZone::id},
    Member{"activity", &PaZone::activity},
    Member{"activityText", &PaZone::activityText},
    Member{"announcementType", &PaZone::announcementType},
    Member{"announcementTypeText", &PaZone::announcementTypeText},
    Member{"health", &PaZone::health},
    Member{"healthText", &PaZone::healthText},
};

inline constexpr std::tuple voiceMembers{
    Member{"portNo", &TTSVocalizer::portNo},     Member{"text", &TTSVocalizer::text},
    Member{"language", &TTSVocalizer::language}, Member{"voice", &TTSVocalizer::voice},
    Member{"rate", &TTSVocalizer::rate},         Member{"encoding", &TTSVocalizer::encoding},
};

inline constexpr std::tuple announcementMembers{
    Member{"id", &AnnouncementRequest::id},
    Member{"requestId", &AnnouncementRequest::getRequestID},
    Member{"audioMessageType", &AnnouncementRequest::getAudioMessageType},
    Member{"visualMessageType", &AnnouncementRequest::getVisualMessageType},
    Member{"stateText", &AnnouncementRequest::stateText},
    Member{"startDateTime", &AnnouncementRequest::startDateTime},
    Member{"messageContent", &AnnouncementRequest::messageContent},
    Member{"priorityText", &AnnouncementRequest::priorityText},
    Member{"zones", &AnnouncementRequest::zones},
    Member{"completionCode", &AnnouncementRequest::completionCode},
    Member{"completionMsg", &AnnouncementRequest::completionMsg},
};

inline constexpr std::tuple hardwareTriggerMembers{
    Member{"id", &PaTrigger::id},
    Member{"associatedSourceId", &PaTrigger::associatedSourceId},
    Member{"associatedSelectorId", &PaTrigger::associatedSelectorId},
    Member{"label", &PaTrigger::label},
    Member{"type", &PaTrigger::type},
    Member{"subAddress", &PaTrigger::subAddress},
    Member{"priority", &PaTrigger::priority},
    Member{"priorityMode", &PaTrigger::priorityMode},
    Member{"state", &PaTrigger::state},
    Member{"resumeAfterInterruption", &PaTrigger::resumeAfterInterruption},
};

inline constexpr auto triggerMembers =
    std::tuple_cat(std::tuple{Member{"kind", &Trigger::kind}}, hardwareTriggerMembers,
                   std::tuple{Member{"preChime", &Trigger::preChime},
                              Member{"displayParameters", &Trigger::displayParameters}});

/// The zones in order of their numbers.
inline std::vector<std::string> selectorZones(const PaSelector& selector) {
    std::vector<std::string> ids;
    for (const auto& zone : selector.paZoneList) {
        ids.push_back(zone.second);
    }
    return ids;
}

inline constexpr std::tuple selectorMembers{
    Member{"id", &PaSelector::id},
    Member{"associatedSourceId", &PaSelector::associatedSourceId},
    Member{"label", &PaSelector::label},
    Member{"type", &PaSelector::type},
    Member{"number", &PaSelector::number},
    Member{"protection", &PaSelector::protection},
    Member{"mode", &PaSelector::mode},
    Member{"dynamicRestriction", &PaSelector::dynamicRestriction},
    Member{"state", &PaSelector::state},
    Member{"paZoneList", &selectorZones},
};

inline constexpr std::tuple ttsItemMembers{
    Member{"key", &TTSDictionary::key},   Member{"portNo", &TTSDictionary::portNo},
    Member{"text", &TTSDictionary::text}, Member{"fullName", &TTSDictionary::fullName},
    Member{"size", &TTSDictionary::size}, Member{"checksum", &TTSDictionary::checksum},
    Member{"uuid", &TTSDictionary::uuid}, Member{"uri", &TTSDictionary::uri},
};

inline constexpr std::tuple scheduleDefinitionMembers{
    Member{"Id", &ScheduleDefinition::Id},
    Member{"descrption", &ScheduleDefinition::descrption},
    Member{"startYear", &ScheduleDefinition::startYear},
    Member{"startMonth", &ScheduleDefinition::startMonth},
    Member{"startDay", &ScheduleDefinition::startDay},
    Member{"startHour", &ScheduleDefinition::startHour},
    Member{"startMinute", &ScheduleDefinition::startMinute},
    Member{"endYear", &ScheduleDefinition::endYear},
    Member{"endMonth", &ScheduleDefinition::endMonth},
    Member{"endDay", &ScheduleDefinition::endDay},
    Member{"endHour", &ScheduleDefinition::endHour},
    Member{"endMinute", &ScheduleDefinition::endMinute},
    Member{"dayMask", &ScheduleDefinition::dayMask},
    Member{"frequency", &ScheduleDefinition::frequency},
    Member{"paZones", &ScheduleDefinition::paZones},
    Member{"priorityMode", &ScheduleDefinition::priorityMode},
    Member{"priorityLevel", &ScheduleDefinition::priorityLevel},
    Member{"announcementType", &ScheduleDefinition::announcementType},
    Member{"visualAnnouncementType", &ScheduleDefinition::visualAnnouncementType},
    Member{"dictionaryItems", &ScheduleDefinition::dictionaryItems},
    Member{"repeatCnt", &ScheduleDefinition::repeatCnt},
    Member{"ttsList", &ScheduleDefinition::ttsList},
    Member{"storedDataSourceId", &ScheduleDefinition::storedDataSourceId},
    Member{"storedDataFilePath", &ScheduleDefinition::storedDataFilePath},
    Member{"displayTemplateName", &ScheduleDefinition::displayTemplateName},
    Member{"displayTemplateKeyValueList", &ScheduleDefinition::displayTemplateKeyValueList},
    Member{"displayTemplateValidityPeriodSeconds",
           &ScheduleDefinition::displayTemplateValidityPeriodSeconds},
    Member{"gain", &ScheduleDefinition::gain},
    Member{"chime", &ScheduleDefinition::chime},
};

inline constexpr auto scheduleMembers = std::tuple_cat(
    scheduleDefinitionMembers,
    std::tuple{Member{"periodText", &Schedule::periodText}, Member{"daysText", &Schedule::daysText},
               Member{"timesText", &Schedule::timesText},
               Member{"contentText", &Schedule::contentText},
               Member{"nextRun", &Schedule::nextRun}});

inline constexpr std::tuple lockMembers{
    Member{"sourceId", &Lock::sourceId},
    Member{"lockedUUID", &Lock::lockedUUID},
    Member{"holder", &Lock::holder},
};

inline constexpr std::tuple retrievalMembers{
    Member{"requestId", &Retrieval::requestId},
    Member{"success", &Retrieval::success},
    Member{"error", &Retrieval::error},
    Member{"uri", &Retrieval::uri},
};

inline constexpr std::tuple levelMembers{
    Member{"element", &palink::LevelReading::element},
    Member{"level", &palink::LevelReading::level},
};

inline constexpr std::tuple refusalMembers{
    Member{"operationClass", [](const palink::Refusal& r) { return r.operation.classNo; }},
    Member{"operationNumber", [](const palink::Refusal& r) { return r.operation.number; }},
    Member{"requestId", &palink::Refusal::requestId},
    Member{"reason", &palink::Refusal::reason},
};

inline constexpr std::tuple goneNumberMembers{Member{"id", &GoneNumber::id}};
inline constexpr std::tuple goneNameMembers{Member{"id", &GoneName::id}};

constexpr const auto& membersOf(const PaSource& /*record*/) {
    return sourceMembers;
}
constexpr const auto& membersOf(const PaSink& /*record*/) {
    return sinkMembers;
}
constexpr const auto& membersOf(const PaZone& /*record*/) {
    return zoneMembers;
}
constexpr const auto& membersOf(const TTSVocalizer& /*record*/) {
    return voiceMembers;
}
constexpr const auto& membersOf(const AnnouncementRequest& /*record*/) {
    return announcementMembers;
}
constexpr const auto& membersOf(const PaTrigger& /*record*/) {
    return hardwareTriggerMembers;
}
constexpr const auto& membersOf(const Trigger& /*record*/) {
    return triggerMembers;
}
constexpr const auto& membersOf(const PaSelector& /*record*/) {
    return selectorMembers;
}
constexpr const auto& membersOf(const TTSDictionary& /*record*/) {
    return ttsItemMembers;
}
constexpr const auto& membersOf(const ScheduleDefinition& /*record*/) {
    return scheduleDefinitionMembers;
}
constexpr const auto& membersOf(const Schedule& /*record*/) {
    return scheduleMembers;
}
constexpr const auto& membersOf(const Lock& /*record*/) {
    return lockMembers;
}
constexpr const auto& membersOf(const Retrieval& /*record*/) {
    return retrievalMembers;
}
constexpr const auto& membersOf(const palink::LevelReading& /*record*/) {
    return levelMembers;
}
constexpr const auto& membersOf(const palink::Refusal& /*record*/) {
    return refusalMembers;
}
constexpr const auto& membersOf(const GoneNumber& /*record*/) {
    return goneNumberMembers;
}
constexpr const auto& membersOf(const GoneName& /*record*/) {
    return goneNameMembers;
}

/// Calls `take(name, value)` for every member of the record, in order.
template <class Record, class Take>
void forEachMember(const Record& record, Take take) {
    std::apply(
        [&](const auto&... member) { (take(member.name, std::invoke(member.read, record)), ...); },
        membersOf(record));
}

}  // namespace console
