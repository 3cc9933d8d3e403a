// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "simserver/audio/AudioFile.h"

namespace simserver {

/// Speaks a text with the program espeak-ng of the PATH. Each text has its own process, so that
/// only this text is lost when the program dies. May be called from any thread.
/// @param voice       a voice of espeak-ng, with a variant if need be: "en+f3"
/// @param text        UTF-8; markup in it is spoken as text
/// @param mayContinue called repeatedly, also while no audio arrives, with the length spoken so far
///                    in seconds; false ends the process, as an exception does
/// @return nothing when `mayContinue` ended it
/// @throws Refused for an unknown voice, for a text without audio, and when the program cannot be
///         started, fails, dies or hangs
std::optional<Sound> speak(const std::string& voice, const std::string& text,
                           const std::function<bool(double)>& mayContinue);

}  // namespace simserver
