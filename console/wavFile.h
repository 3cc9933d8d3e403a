#pragma once

#include <filesystem>
#include <string>

namespace console {

/// Looks whether a file can be played as a recording.
/// @throws Failure when it cannot be read, is not a WAV file or has no sound in it
void checkWav(const std::string& path);

/// Writes a WAV file with a tone, 16 bit, mono, 48000 Hz.
/// @throws Failure when it cannot be written
void writeTone(const std::filesystem::path& path, int seconds);

}  // namespace console
