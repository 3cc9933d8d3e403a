// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

/// @file
/// Checks of texts that are sent to the server: what would arrive there as something else is
/// refused. Every function may be called from any thread.

namespace paoperating {

/// @throws std::invalid_argument with the text unless something holds
inline void require(bool holds, const std::string& text) {
    if (!holds) {
        throw std::invalid_argument(text);
    }
}

/// @param what as in "the text"
/// @throws std::invalid_argument
void requireUtf8(const std::string& what, const std::string& text);

/// A text that is sent as it is, in a list.
/// @throws std::invalid_argument for one that would end there
void requireListable(const std::string& kind, const std::string& text);

/// The server's folder for uploads and recordings.
constexpr const char* serverFolder = "/home/quillon/tmp/";

/// The path of a recording at the server: a bare name is in the server's folder.
/// @throws std::invalid_argument for what cannot be one
std::string serverPath(const std::string& path);

/// The same of a recording that is to be made or played.
/// @throws std::invalid_argument for a path that cannot be played
std::string playablePath(const std::string& path);

}  // namespace paoperating
