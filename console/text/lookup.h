#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace console {

/// The text with its ASCII letters in lower case.
std::string lowered(const std::string& text);

/// Where a name stands in a list: the one that is the same, or else the only one that is the same
/// but for the case of its ASCII letters.
/// @param kind what is looked for, as in "zone"
/// @throws Failure when there is none, with the nearest names, or more than one
std::size_t findName(const std::string& kind, const std::string& wanted,
                     const std::vector<std::string>& names);

/// That there is no such name, with the nearest ones.
std::string unknownName(const std::string& kind, const std::string& wanted,
                        const std::vector<std::string>& names);

/// As findName, without complaint.
/// @return false when there is not exactly one
bool knowsName(const std::string& wanted, const std::vector<std::string>& names);

/// How many letters must be put in, taken out, changed or swapped with their neighbour to turn one
/// text into the other.
std::size_t editDistance(const std::string& from, const std::string& to);

}  // namespace console
