// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace console {

/// The names by which the resources of a kind can be called, for example of "zone".
using NamesOf = std::function<std::vector<std::string>(const std::string& kind)>;

/// What the word at the cursor may become.
struct Completion {
    std::size_t begin = 0;             ///< where the word begins in the line
    std::string word;                  ///< its replacement, as far as it is certain
    std::vector<std::string> choices;  ///< in order; none: nothing is known
};

/// Completes the last word of a line: commands, their options, and the values that can be known.
/// Letter case is ignored, as when names are looked up. Names that a line cannot contain, or that
/// would be taken for an option, are left out.
/// @param line   up to the cursor
/// @param parser every command with its options
Completion complete(const std::string& line, const CLI::App& parser, const NamesOf& namesOf);

}  // namespace console
