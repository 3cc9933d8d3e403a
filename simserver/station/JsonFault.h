// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace simserver {

/// The fault of a JSON text with its line and column, without the library's own number for it.
inline std::string jsonFault(const nlohmann::json::exception& fault) {
    const std::string text = fault.what();
    const std::size_t number = text.find("] ");
    return number == std::string::npos ? text : text.substr(number + 2);
}

}  // namespace simserver
