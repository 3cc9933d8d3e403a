#include "console/text/TextTable.h"

#include <algorithm>

#include "console/text/cleanText.h"

namespace console {

TextTable::TextTable(std::vector<std::string> headings) : rows_{std::move(headings)} {}

void TextTable::addRow(const std::vector<std::string>& cells) {
    std::vector<std::string> row;
    row.reserve(cells.size());
    for (const std::string& cell : cells) {
        row.push_back(clean(cell));
    }
    rows_.push_back(std::move(row));
}

std::vector<std::string> TextTable::lines() const {
    std::vector<std::size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    std::vector<std::string> result;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += fitted(row[i], widths[i]) + "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result.push_back(line);
    }
    return result;
}

std::string TextTable::text() const {
    std::string result;
    for (const std::string& line : lines()) {
        result += line + '\n';
    }
    return result;
}

}  // namespace console
