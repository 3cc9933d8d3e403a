// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace pautil {

/// The file of this machine that a `file:` URI names.
/// @return nothing when it names none: another scheme or machine, a relative path, a bad escape
[[nodiscard]] std::optional<std::filesystem::path> pathOfFileUri(const std::string& uri);

}  // namespace pautil
