#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace simserver {

/// Reads a JSON text in one pass. Of two members with the same name the JSON library would keep the
/// last; here that is a mistake.
/// @throws ScenarioError for the first fault of the text: at which line and column it is no JSON,
///         or which member of an object is given twice, as a JSON pointer
nlohmann::json parseStrictly(const std::string& text);

}  // namespace simserver
