// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace simserver {

/// Reads a JSON text in one pass. The JSON library would keep the last of two members with the same
/// name; here that is a fault.
/// @throws ScenarioError for the first fault of the text: the line and column that is not JSON,
///         or the member of an object that is given twice, as a JSON pointer
nlohmann::json parseStrictly(const std::string& text);

}  // namespace simserver
