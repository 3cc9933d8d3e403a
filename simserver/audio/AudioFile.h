// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

/// @file
/// Audio of one channel, in memory and in files.

namespace simserver {

/// Samples per second of every file that the server writes.
constexpr int audioRate = 48000;

struct Sound {
    std::vector<float> samples;  ///< full scale is 1
    int rate = audioRate;        ///< samples per second
};

/// The audio at the server's own rate, as 16-bit samples.
/// @throws Refused when it cannot be converted
std::vector<short> resampled(const Sound& sound);

/// The beginning of an audio file; several channels are mixed.
/// @param longest in seconds
/// @throws Refused when it is not an audio file that can be read
Sound readSound(const std::filesystem::path& file, int longest);

/// Writes a WAV file: one channel, 16 bits, at the server's own rate.
/// @param samples repeated, or cut, to `count` samples; empty only when `count` is 0
/// @throws Refused when not all of it can be written
void writeWav(const std::filesystem::path& file, const std::vector<short>& samples,
              std::size_t count);

/// The SHA-256 of a file's bytes, in lower-case hexadecimal digits.
/// @throws Refused when it cannot be read
std::string sha256(const std::filesystem::path& file);

/// The `file:` URI of a file of this machine.
std::string fileUri(const std::filesystem::path& file);

}  // namespace simserver
