// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace paoperating {

/// What a WAV file holds.
struct WavFormat {
    int rate;  ///< Hz
    int channels;
    int bits;  ///< of a sample, 0 when samples are not coded as whole numbers
    double seconds;
};

/// Looks whether a file can be played as a recording.
/// @return what it holds
/// @throws pautil::FileError when it cannot be read, is not a WAV file or has no sound in it
WavFormat checkWav(const std::string& path);

/// For example "WAV, 48000 Hz, mono, 16 bit, 1.52 s".
std::string formatText(const WavFormat& format);

}  // namespace paoperating
