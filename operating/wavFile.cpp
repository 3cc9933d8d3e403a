// SPDX-License-Identifier: Apache-2.0
#include "operating/wavFile.h"

#include <cstdio>
#include <filesystem>
#include <sndfile.hh>

#include "util/FileError.h"

namespace paoperating {

namespace {

constexpr std::pair<int, int> sampleBits[] = {
    {SF_FORMAT_PCM_U8, 8}, {SF_FORMAT_PCM_16, 16}, {SF_FORMAT_PCM_24, 24}, {SF_FORMAT_PCM_32, 32}};

void requireSound(bool holds, const std::string& text) {
    if (!holds) {
        throw pautil::FileError(text);
    }
}

int bitsOf(int format) {
    for (const auto& [coding, bits] : sampleBits) {
        if ((format & SF_FORMAT_SUBMASK) == coding) {
            return bits;
        }
    }
    return 0;
}

std::string channelText(int channels) {
    return channels == 1   ? "mono"
           : channels == 2 ? "stereo"
                           : std::to_string(channels) + " channels";
}

}  // namespace

WavFormat checkWav(const std::string& path) {
    std::error_code unknown;
    const auto status = std::filesystem::status(path, unknown);
    requireSound(std::filesystem::exists(status), path + ": there is no such file");
    // Anything else, a pipe for example, would keep its reader waiting.
    requireSound(std::filesystem::is_regular_file(status), path + ": is not a file");
    const SndfileHandle file(path);
    requireSound(file.error() == SF_ERR_NO_ERROR,
                 path + ": cannot be read as a WAV file: " + file.strError());
    const int container = file.format() & SF_FORMAT_TYPEMASK;
    requireSound(container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX,
                 path + ": is not a WAV file");
    requireSound(file.frames() > 0, path + ": has no sound in it");
    return {file.samplerate(), file.channels(), bitsOf(file.format()),
            static_cast<double>(file.frames()) / file.samplerate()};
}

std::string formatText(const WavFormat& format) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.2f s", format.seconds);
    return "WAV, " + std::to_string(format.rate) + " Hz, " + channelText(format.channels) + ", " +
           (format.bits == 0 ? "" : std::to_string(format.bits) + " bit, ") + seconds;
}

}  // namespace paoperating
