// SPDX-License-Identifier: Apache-2.0
#include "util/userFile.h"

#include <cstdlib>

namespace pautil {

namespace {

/// The absolute path in a variable, else an empty one.
std::filesystem::path folderIn(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value == '/' ? value : "";
}

}  // namespace

std::filesystem::path userFile(const char* variable, const std::string& otherwise,
                               const std::string& file) {
    if (const auto base = folderIn(variable); !base.empty()) {
        return base / file;
    }
    const auto home = folderIn("HOME");
    return home.empty() ? home : home / otherwise / file;
}

}  // namespace pautil
