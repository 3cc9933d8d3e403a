#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "console/Context.h"
#include "console/text/TextTable.h"
#include "console/text/resources.h"

namespace console {

/// Prints resources of a kind: the columns of its list, or JSON with every member.
template <class Record>
void print(const Context& context, const Resource<Record>& kind,
           const std::vector<Record>& records) {
    if (context.settings.json) {
        context.writeJson(toJson(records));
        return;
    }
    std::vector<std::string> headings;
    for (const Column& column : kind.columns) {
        headings.emplace_back(column.heading);
    }
    TextTable table(headings);
    for (const Record& record : records) {
        std::vector<std::string> cells;
        for (const Column& column : kind.columns) {
            cells.push_back(memberText(record, column.member));
        }
        table.addRow(cells);
    }
    context.out.write(table.text());
}

/// Prints one resource with all its members.
template <class Record>
void printOne(const Context& context, const Record& record) {
    if (context.settings.json) {
        context.writeJson(toJson(record));
        return;
    }
    TextTable table({"MEMBER", "VALUE"});
    forEachMember(record, [&table](const char* name, const auto& value) {
        table.addRow({name, valueText(value)});
    });
    context.out.write(table.text());
}

/// Prints the resources of a kind that belong to one source.
/// @param source its number or label; nothing for every source
template <class Record>
void printOfSource(const Context& context, const Resource<Record>& kind,
                   const std::optional<std::string>& source) {
    std::vector<Record> records = kind.all();
    if (source) {
        const int id = findOne(sources, *source).id;
        const auto isOther = [id](const Record& r) { return r.associatedSourceId != id; };
        records.erase(std::remove_if(records.begin(), records.end(), isOther), records.end());
    }
    print(context, kind, records);
}

}  // namespace console
