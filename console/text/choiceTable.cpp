#include "console/text/choiceTable.h"

#include <algorithm>

#include "console/text/cleanText.h"

namespace console {

std::string choiceTable(const std::vector<std::string>& choices, std::size_t columns) {
    constexpr std::size_t mostShown = 100;
    const std::size_t shown = std::min(choices.size(), mostShown);
    std::size_t width = 0;
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
