#pragma once

#include <filesystem>
#include <string>

namespace console {

/// The file of this machine that a `file:` URI names.
/// @throws Failure when it names none: another scheme or machine, a relative path, a bad escape
std::filesystem::path pathOfFileUri(const std::string& uri);

}  // namespace console
