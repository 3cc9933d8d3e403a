#pragma once

#include <functional>
#include <optional>
#include <string>

#include "simserver/audio/AudioFile.h"

namespace simserver {

/// Speaks a text with the program espeak-ng of the PATH. Each text has a process of its own, so
/// that nothing but this text is lost when the program dies of it. May be called from any thread.
/// @param voice  a voice of espeak-ng, with a variant if need be: "en+f3"
/// @param text   UTF-8; whatever it holds is spoken as text
/// @param goesOn asked again and again, also while nothing is heard, with the length spoken so far,
///               in seconds; false gives up, and ends the process as an exception does
/// @return nothing when it was given up
/// @throws Refused for an unknown voice, for a text of which nothing is heard, and when the program
///         is missing, dies or hangs
std::optional<Sound> speak(const std::string& voice, const std::string& text,
                           const std::function<bool(double)>& goesOn);

}  // namespace simserver
