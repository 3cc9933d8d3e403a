// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

namespace paserver {

/// Takes a variable out of the environment, so that no child of this process sees it, and
/// overwrites it, for the system shows it to others. Not while another thread uses the environment.
/// @return nothing when it is not set
inline std::optional<std::string> takeVariable(const std::string& name) {
    char* const value = std::getenv(name.c_str());
    if (value == nullptr) {
        return std::nullopt;
    }
    std::string text = value;
    std::fill_n(value, text.size(), '*');
    unsetenv(name.c_str());
    return text;
}

}  // namespace paserver
