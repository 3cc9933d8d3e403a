// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace pautil {

/// A file of the user, by two variables of the environment, as the XDG base directories have it.
/// @param variable  names the base folder, for example "XDG_CONFIG_HOME"
/// @param otherwise the base folder below that of HOME, when that variable is no absolute path
/// @param file      below the base folder
/// @return an absolute path; empty when neither variable is one
[[nodiscard]] std::filesystem::path userFile(const char* variable, const std::string& otherwise,
                                             const std::string& file);

}  // namespace pautil
