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
    std::vector<std::string> lines() const;

    /// The lines, each with its end.
    std::string text() const;

private:
    std::vector<std::vector<std::string>> rows_;  // the headings first; clean texts
};

}  // namespace console
