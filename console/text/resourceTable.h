// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "client/StationClock.h"
#include "client/json.h"
#include "client/resources.h"
#include "console/Context.h"
#include "console/text/TextTable.h"

namespace console {

using paclient::AnyTrigger;
using paclient::memberText;
using paclient::Resource;
using paclient::ScheduleEntry;
using paclient::SourceLock;

/// One column of a list.
template <class Record>
struct ListColumn {
    const char* heading;
    std::string (*text)(const Record& record);
};

template <class Record>
using ListColumns = std::vector<ListColumn<Record>>;

/// A moment of the station as lists show it, with its time zone: "2026-12-01T06:00 Europe/Berlin".
/// @param moment as `paclient::ScheduleEntry::nextRun`
inline std::string withTimeZone(const std::string& moment) {
    return moment.empty() ? moment : moment + ' ' + paclient::stationClock().timeZone();
}

// What a list of each kind shows.

inline ListColumns<PaSource> columnsOf(const Resource<PaSource>& /*kind*/) {
    return {{"ID", memberText<&PaSource::id>},
            {"LABEL", memberText<&PaSource::label>},
            {"LOCATION", memberText<&PaSource::location>},
            {"TYPE", memberText<&PaSource::type>},
            {"STATE", memberText<&PaSource::state>},
            {"HEALTH", memberText<&PaSource::healthState>}};
}

inline ListColumns<PaSink> columnsOf(const Resource<PaSink>& /*kind*/) {
    return {{"ID", memberText<&PaSink::id>},
            {"LABEL", memberText<&PaSink::label>},
            {"LOCATION", memberText<&PaSink::location>},
            {"TYPE", memberText<&PaSink::type>},
            {"STATE", memberText<&PaSink::state>},
            {"GAIN", memberText<&PaSink::outputGain>},
            {"HEALTH", memberText<&PaSink::healthState>},
            {"ZONES", memberText<&PaSink::paZoneList>}};
}

inline ListColumns<PaZone> columnsOf(const Resource<PaZone>& /*kind*/) {
    return {{"ZONE", memberText<&PaZone::id>},
            {"ACTIVITY", memberText<&PaZone::activityText>},
            {"ANNOUNCEMENT", memberText<&PaZone::announcementTypeText>},
            {"HEALTH", memberText<&PaZone::healthText>}};
}

inline ListColumns<TTSVocalizer> columnsOf(const Resource<TTSVocalizer>& /*kind*/) {
    return {{"PORT", memberText<&TTSVocalizer::portNo>},
            {"LANGUAGE", memberText<&TTSVocalizer::language>},
            {"VOICE", memberText<&TTSVocalizer::voice>},
            {"RATE", memberText<&TTSVocalizer::rate>}};
}

inline ListColumns<AnnouncementRequest> columnsOf(const Resource<AnnouncementRequest>& /*kind*/) {
    return {{"ID", memberText<&AnnouncementRequest::id>},
            {"REQUEST", memberText<&AnnouncementRequest::getRequestID>},
            {"AUDIO", memberText<&AnnouncementRequest::getAudioMessageType>},
            {"VISUAL", memberText<&AnnouncementRequest::getVisualMessageType>},
            {"STATE", memberText<&AnnouncementRequest::stateText>},
            {"PRIORITY", memberText<&AnnouncementRequest::priorityText>},
            {"START", paclient::startText},
            {"ZONES", memberText<&AnnouncementRequest::zones>}};
}

inline ListColumns<AnyTrigger> columnsOf(const Resource<AnyTrigger>& /*kind*/) {
    return {{"KIND", memberText<&AnyTrigger::kind>},
            {"ID", memberText<&AnyTrigger::id>},
            {"LABEL", memberText<&AnyTrigger::label>},
            {"TYPE", memberText<&AnyTrigger::type>},
            {"SOURCE", memberText<&AnyTrigger::associatedSourceId>},
            {"SELECTOR", memberText<&AnyTrigger::associatedSelectorId>},
            {"PRIORITY", memberText<&AnyTrigger::priority>},
            {"STATE", memberText<&AnyTrigger::state>}};
}

inline ListColumns<PaSelector> columnsOf(const Resource<PaSelector>& /*kind*/) {
    return {{"ID", memberText<&PaSelector::id>},
            {"LABEL", memberText<&PaSelector::label>},
            {"TYPE", memberText<&PaSelector::type>},
            {"NUMBER", memberText<&PaSelector::number>},
            {"SOURCE", memberText<&PaSelector::associatedSourceId>},
            {"STATE", memberText<&PaSelector::state>}};
}

inline ListColumns<ScheduleEntry> columnsOf(const Resource<ScheduleEntry>& /*kind*/) {
    return {{"ID", memberText<&ScheduleEntry::Id>},
            {"DESCRIPTION", memberText<&ScheduleEntry::descrption>},
            {"PERIOD", memberText<&ScheduleEntry::periodText>},
            {"DAYS", memberText<&ScheduleEntry::daysText>},
            {"TIMES", memberText<&ScheduleEntry::timesText>},
            {"CONTENT", memberText<&ScheduleEntry::contentText>},
            {"ZONES", memberText<&ScheduleEntry::paZones>},
            {"NEXT RUN", [](const ScheduleEntry& entry) { return withTimeZone(entry.nextRun); }}};
}

inline ListColumns<TTSDictionary> columnsOf(const Resource<TTSDictionary>& /*kind*/) {
    return {{"KEY", memberText<&TTSDictionary::key>},
            {"PORT", memberText<&TTSDictionary::portNo>},
            {"TEXT", memberText<&TTSDictionary::text>},
            {"SIZE", memberText<&TTSDictionary::size>},
            {"URI", memberText<&TTSDictionary::uri>}};
}

inline ListColumns<SourceLock> columnsOf(const Resource<SourceLock>& /*kind*/) {
    return {{"SOURCE", memberText<&SourceLock::sourceId>},
            {"HOLDER", memberText<&SourceLock::holder>},
            {"UUID", memberText<&SourceLock::lockedUUID>}};
}

/// Prints resources of a kind: the columns of its list, or JSON with every member.
template <class Record>
void print(const Context& context, const Resource<Record>& kind,
           const std::vector<Record>& records) {
    const ListColumns<Record> columns = columnsOf(kind);
    std::vector<std::string> headings;
    for (const ListColumn<Record>& column : columns) {
        headings.emplace_back(column.heading);
    }
    TextTable table(headings);
    for (const Record& record : records) {
        std::vector<std::string> cells;
        for (const ListColumn<Record>& column : columns) {
            cells.push_back(column.text(record));
        }
        table.addRow(cells);
    }
    context.write(table, paclient::toJson(records));
}

/// Prints one resource with all its members.
template <class Record>
void printOne(const Context& context, const Record& record) {
    TextTable table({"MEMBER", "VALUE"});
    paclient::forEachMember(record, [&](const paclient::MemberInfo& info, const auto& value) {
        table.addRow({info.name, paclient::valueText(value)});
    });
    context.settings.json ? context.writeJson(paclient::toJson(record))
                          : context.out.write(table.text());
}

}  // namespace console
