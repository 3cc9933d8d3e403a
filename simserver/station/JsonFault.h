#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace simserver {

/// What is wrong with a JSON text, and at which line and column; without the library's own number
/// for it.
inline std::string jsonFault(const nlohmann::json::exception& fault) {
    const std::string text = fault.what();
    const std::size_t number = text.find("] ");
    return number == std::string::npos ? text : text.substr(number + 2);
}

}  // namespace simserver
