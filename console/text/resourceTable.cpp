#include "console/text/resourceTable.h"

#include "client/StationClock.h"

namespace console {

using namespace paclient;

ListColumns<PaSource> columnsOf(const Resource<PaSource>& /*kind*/) {
    return {{"ID", memberText<&PaSource::id>},
            {"LABEL", memberText<&PaSource::label>},
            {"LOCATION", memberText<&PaSource::location>},
            {"TYPE", memberText<&PaSource::type>},
            {"STATE", memberText<&PaSource::state>},
            {"HEALTH", memberText<&PaSource::healthState>}};
}

ListColumns<PaSink> columnsOf(const Resource<PaSink>& /*kind*/) {
    return {{"ID", memberText<&PaSink::id>},
            {"LABEL", memberText<&PaSink::label>},
            {"LOCATION", memberText<&PaSink::location>},
            {"TYPE", memberText<&PaSink::type>},
            {"STATE", memberText<&PaSink::state>},
            {"GAIN", memberText<&PaSink::outputGain>},
            {"HEALTH", memberText<&PaSink::healthState>},
            {"ZONES", memberText<&PaSink::paZoneList>}};
}

ListColumns<PaZone> columnsOf(const Resource<PaZone>& /*kind*/) {
    return {{"ZONE", memberText<&PaZone::id>},
            {"ACTIVITY", memberText<&PaZone::activityText>},
            {"ANNOUNCEMENT", memberText<&PaZone::announcementTypeText>},
            {"HEALTH", memberText<&PaZone::healthText>}};
}

ListColumns<TTSVocalizer> columnsOf(const Resource<TTSVocalizer>& /*kind*/) {
    return {{"PORT", memberText<&TTSVocalizer::portNo>},
            {"LANGUAGE", memberText<&TTSVocalizer::language>},
            {"VOICE", memberText<&TTSVocalizer::voice>},
            {"RATE", memberText<&TTSVocalizer::rate>}};
}

ListColumns<AnnouncementRequest> columnsOf(const Resource<AnnouncementRequest>& /*kind*/) {
    return {{"ID", memberText<&AnnouncementRequest::id>},
            {"REQUEST", memberText<&AnnouncementRequest::getRequestID>},
            {"AUDIO", memberText<&AnnouncementRequest::getAudioMessageType>},
            {"VISUAL", memberText<&AnnouncementRequest::getVisualMessageType>},
            {"STATE", memberText<&AnnouncementRequest::stateText>},
            {"PRIORITY", memberText<&AnnouncementRequest::priorityText>},
            {"START", memberText<&AnnouncementRequest::startDateTime>},
            {"ZONES", memberText<&AnnouncementRequest::zones>}};
}

ListColumns<AnyTrigger> columnsOf(const Resource<AnyTrigger>& /*kind*/) {
    return {{"KIND", memberText<&AnyTrigger::kind>},
            {"ID", memberText<&AnyTrigger::id>},
            {"LABEL", memberText<&AnyTrigger::label>},
            {"TYPE", memberText<&AnyTrigger::type>},
            {"SOURCE", memberText<&AnyTrigger::associatedSourceId>},
            {"SELECTOR", memberText<&AnyTrigger::associatedSelectorId>},
            {"PRIORITY", memberText<&AnyTrigger::priority>},
            {"STATE", memberText<&AnyTrigger::state>}};
}

ListColumns<PaSelector> columnsOf(const Resource<PaSelector>& /*kind*/) {
    return {{"ID", memberText<&PaSelector::id>},
            {"LABEL", memberText<&PaSelector::label>},
            {"TYPE", memberText<&PaSelector::type>},
            {"NUMBER", memberText<&PaSelector::number>},
            {"SOURCE", memberText<&PaSelector::associatedSourceId>},
            {"STATE", memberText<&PaSelector::state>}};
}

ListColumns<ScheduleEntry> columnsOf(const Resource<ScheduleEntry>& /*kind*/) {
    return {{"ID", memberText<&ScheduleEntry::Id>},
            {"DESCRIPTION", memberText<&ScheduleEntry::descrption>},
            {"PERIOD", memberText<&ScheduleEntry::periodText>},
            {"DAYS", memberText<&ScheduleEntry::daysText>},
            {"TIMES", memberText<&ScheduleEntry::timesText>},
            {"CONTENT", memberText<&ScheduleEntry::contentText>},
            {"ZONES", memberText<&ScheduleEntry::paZones>},
            {"NEXT RUN", [](const ScheduleEntry& entry) { return withTimeZone(entry.nextRun); }}};
}

ListColumns<TTSDictionary> columnsOf(const Resource<TTSDictionary>& /*kind*/) {
    return {{"KEY", memberText<&TTSDictionary::key>},
            {"PORT", memberText<&TTSDictionary::portNo>},
            {"TEXT", memberText<&TTSDictionary::text>},
            {"SIZE", memberText<&TTSDictionary::size>},
            {"URI", memberText<&TTSDictionary::uri>}};
}

ListColumns<SourceLock> columnsOf(const Resource<SourceLock>& /*kind*/) {
    return {{"SOURCE", memberText<&SourceLock::sourceId>},
            {"HOLDER", memberText<&SourceLock::holder>},
            {"UUID", memberText<&SourceLock::lockedUUID>}};
}

std::string withTimeZone(const std::string& moment) {
    return moment.empty() ? moment : moment + ' ' + stationClock().timeZone();
}

}  // namespace console
