#pragma once

#include <string>
#include <vector>

#include "client/json.h"
#include "client/resources.h"
#include "console/Context.h"
#include "console/text/TextTable.h"

namespace console {

/// One column of a list.
template <class Record>
struct ListColumn {
    const char* heading;
    std::string (*text)(const Record& record);
};

template <class Record>
using ListColumns = std::vector<ListColumn<Record>>;

/// What a list of the kind shows.
ListColumns<PaSource> columnsOf(const paclient::Resource<PaSource>& kind);
ListColumns<PaSink> columnsOf(const paclient::Resource<PaSink>& kind);
ListColumns<PaZone> columnsOf(const paclient::Resource<PaZone>& kind);
ListColumns<TTSVocalizer> columnsOf(const paclient::Resource<TTSVocalizer>& kind);
ListColumns<AnnouncementRequest> columnsOf(const paclient::Resource<AnnouncementRequest>& kind);
ListColumns<paclient::AnyTrigger> columnsOf(const paclient::Resource<paclient::AnyTrigger>& kind);
ListColumns<PaSelector> columnsOf(const paclient::Resource<PaSelector>& kind);
ListColumns<paclient::ScheduleEntry> columnsOf(
    const paclient::Resource<paclient::ScheduleEntry>& kind);
ListColumns<TTSDictionary> columnsOf(const paclient::Resource<TTSDictionary>& kind);
ListColumns<paclient::SourceLock> columnsOf(const paclient::Resource<paclient::SourceLock>& kind);

/// Prints resources of a kind: the columns of its list, or JSON with every member.
template <class Record>
void print(const Context& context, const paclient::Resource<Record>& kind,
           const std::vector<Record>& records) {
    if (context.settings.json) {
        context.writeJson(paclient::toJson(records));
        return;
    }
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
    context.write(table);
}

/// Prints one resource with all its members.
template <class Record>
void printOne(const Context& context, const Record& record) {
    if (context.settings.json) {
        context.writeJson(paclient::toJson(record));
        return;
    }
    TextTable table({"MEMBER", "VALUE"});
    paclient::forEachMember(record, [&](const paclient::MemberInfo& info, const auto& value) {
        table.addRow({info.name, paclient::valueText(value)});
    });
    context.out.write(table.text());
}

/// A moment of the station as lists show it, with its time zone: "2026-12-01T06:00 Europe/Berlin".
/// @param moment as `paclient::ScheduleEntry::nextRun`
std::string withTimeZone(const std::string& moment);

}  // namespace console
