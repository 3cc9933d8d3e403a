// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace console {

/// Aligned columns: a heading and rows of cells, which are made harmless for a terminal.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> headings);

    void addRow(const std::vector<std::string>& cells);

    /// The lines, without line ends.
    /// @param columns of the terminal that they fit, 0 for no limit. The widest texts are cut then
    ///                and end in an ellipsis; headings, numbers and moments are never cut.
    std::vector<std::string> lines(std::size_t columns = 0) const;

    /// The lines, each with its end.
    std::string text(std::size_t columns = 0) const;

private:
    static constexpr std::size_t gap = 2;  // columns between two cells

    std::vector<std::size_t> widths(std::size_t columns) const;

    std::vector<std::vector<std::string>> rows_;  // the headings first; clean texts
};

/// Choices for a terminal, in as many columns as there is room for, read downwards. Of very many
/// the first are shown, and how many more there are.
std::string choiceTable(const std::vector<std::string>& choices, std::size_t columns);

}  // namespace console
