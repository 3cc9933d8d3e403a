// SPDX-License-Identifier: Apache-2.0
#include "panel/audit/auditExport.h"

#include <string>
#include <string_view>

#include "panel/audit/utcTime.h"

namespace papanel {

namespace {

/// Calls `lineOf(row)` for each row and writes the lines, a part of them at a time.
/// @return false when the client is away
template <class LineOf>
bool writeRows(AuditTrail& trail, AuditFilter& filter, const Write& write, LineOf lineOf) {
    constexpr int rowsAtOnce = 500;
    for (auto rows = trail.find(filter, rowsAtOnce); !rows.empty();
         rows = trail.find(filter, rowsAtOnce)) {
        std::string lines;
        for (const AuditRow& row : rows) {
            lines += lineOf(row);
        }
        if (!write(lines)) {
            return false;
        }
        filter.before = rows.back().id;
    }
    return true;
}

std::string cellOf(const Json& value) {
    std::string text;
    if (value.is_string()) {
        text = value.get<std::string>();
    } else if (!value.is_null()) {
        text = value.dump();
    }
    constexpr std::string_view formulas = "=+-@\t\r\n";
    std::string cell = "\"";
    cell += !text.empty() && formulas.find(text.front()) != std::string_view::npos ? "'" : "";
    for (const char c : text) {
        cell += c == '"' ? "\"\"" : std::string(1, c);
    }
    return cell + '"';
}

/// @param take gives a name's or a value's cell
template <class Take>
std::string csvLine(const Json& record, Take take) {
    std::string line;
    for (const auto& item : record.items()) {
        line += (line.empty() ? "" : ",") + take(item);
    }
    return line + "\r\n";
}

}  // namespace

Json rowJson(const AuditRow& row) {
    return {{"id", row.id},
            {"time", utcText(row.time)},
            {"user", row.user},
            {"address", row.address},
            {"operation", row.operation},
            {"target", row.target},
            {"request", row.request},
            {"outcome", row.outcome},
            {"text", row.text},
            {"finished", row.finished ? Json(utcText(*row.finished)) : Json()}};
}

void exportJson(AuditTrail& trail, AuditFilter filter, const Write& write) {
    std::string start = "[\n";
    const auto lineOf = [&start](const AuditRow& row) {
        const std::string line = paclient::jsonLine(rowJson(row));
        return std::exchange(start, ",\n") + line.substr(0, line.size() - 1);
    };
    if (writeRows(trail, filter, write, lineOf)) {
        write(start == "[\n" ? "[]\n" : "\n]\n");
    }
}

void exportCsv(AuditTrail& trail, AuditFilter filter, const Write& write) {
    const auto nameOf = [](const auto& item) { return item.key(); };
    const auto valueOf = [](const auto& item) { return cellOf(item.value()); };
    if (write(csvLine(rowJson(AuditRow()), nameOf))) {
        writeRows(trail, filter, write,
                  [&](const AuditRow& row) { return csvLine(rowJson(row), valueOf); });
    }
}

}  // namespace papanel
