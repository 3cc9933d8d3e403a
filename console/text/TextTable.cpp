// SPDX-License-Identifier: Apache-2.0
#include "console/text/TextTable.h"

#include <algorithm>
#include <numeric>

#include "console/text/cleanText.h"

namespace console {

TextTable::TextTable(std::vector<std::string> headings) : rows_{std::move(headings)} {}

void TextTable::addRow(const std::vector<std::string>& cells) {
    std::vector<std::string>& row = rows_.emplace_back();
    for (const std::string& cell : cells) {
        row.push_back(clean(cell));
    }
}

std::vector<std::size_t> TextTable::widths(std::size_t columns) const {
    std::vector<std::size_t> result(rows_.front().size());
    std::vector<std::size_t> least(result);  // of what is never cut: headings, numbers and moments
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t width = displayWidth(row[i]);
            const bool isNumber = row[i].find_first_not_of("0123456789.:- ") == std::string::npos;
            result[i] = std::max(result[i], width);
            least[i] = std::max(least[i], isNumber || &row == &rows_.front() ? width : 0);
        }
    }
    std::size_t total = std::accumulate(result.begin(), result.end(), gap * (result.size() - 1));
    while (columns > 0 && total > columns) {
        // One column less for the widest cells that may become narrower.
        std::size_t* widest = nullptr;
        for (std::size_t i = 0; i < result.size(); ++i) {
            if (result[i] > least[i] && (widest == nullptr || result[i] > *widest)) {
                widest = &result[i];
            }
        }
        if (widest == nullptr) {
            break;
        }
        --*widest;
        --total;
    }
    return result;
}

std::vector<std::string> TextTable::lines(std::size_t columns) const {
    const auto width = widths(columns);
    std::vector<std::string> result;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += fitted(row[i], width[i], "…") + std::string(gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result.push_back(line);
    }
    return result;
}

std::string TextTable::text(std::size_t columns) const {
    std::string result;
    for (const std::string& line : lines(columns)) {
        result += line + '\n';
    }
    return result;
}

std::string choiceTable(const std::vector<std::string>& choices, std::size_t columns) {
    constexpr std::size_t mostShown = 100;
    const std::size_t shown = std::min(choices.size(), mostShown);
    std::size_t width = 2;  // of the gap
    for (std::size_t i = 0; i < shown; ++i) {
        width = std::max(width, displayWidth(clean(choices[i])) + 2);
    }
    const std::size_t across = std::max<std::size_t>(1, columns / width);
    const std::size_t rows = (shown + across - 1) / across;
    std::string text;
    for (std::size_t row = 0; row < rows; ++row) {
        std::string line;
        for (std::size_t i = row; i < shown; i += rows) {
            line += fitted(clean(choices[i]), width);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    if (shown < choices.size()) {
        text += "and " + std::to_string(choices.size() - shown) + " more\n";
    }
    return text;
}

}  // namespace console
