#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace console {

/// Choices for a terminal, in as many columns as there is room for, read downwards. Of very many
/// the first are shown, and how many more there are.
std::string choiceTable(const std::vector<std::string>& choices, std::size_t columns);

}  // namespace console
