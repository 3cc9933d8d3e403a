#pragma once

#include <functional>
#include <tuple>

#include "link/Transport.h"
#include "resource/common/paInfo.h"
#include "sdk/AnnouncementRequest.h"

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

inline constexpr std::tuple refusalMembers{
    Member{"operationClass", &palink::Refusal::operationClass},
    Member{"operationNumber", &palink::Refusal::operationNumber},
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
