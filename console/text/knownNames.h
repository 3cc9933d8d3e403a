#pragma once

#include <string>
#include <vector>

namespace console {

/// The names by which the resources of a kind can be called now: numbers and labels as they are.
/// @param kind as `get` calls it, or "language"; of another kind none are known
std::vector<std::string> knownNames(const std::string& kind);

}  // namespace console
