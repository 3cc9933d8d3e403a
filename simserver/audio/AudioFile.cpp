// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/AudioFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <memory>
#include <openssl/evp.h>
#include <samplerate.h>
#include <sndfile.h>
#include <string_view>

#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

namespace fs = std::filesystem;

using OpenedFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

std::string hexText(const unsigned char* bytes, std::size_t count, const char* digits) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 0xFU];
    }
    return text;
}

}  // namespace

std::vector<short> resampled(const Sound& sound) {
    std::vector<float> converted;
    const std::vector<float>* samples = &sound.samples;
    if (sound.rate != audioRate && !sound.samples.empty()) {
        const double ratio = static_cast<double>(audioRate) / sound.rate;
        const double frames = std::ceil(static_cast<double>(sound.samples.size()) * ratio);
        converted.resize(static_cast<std::size_t>(frames));
        SRC_DATA data{};
        data.data_in = sound.samples.data();
        data.input_frames = static_cast<long>(sound.samples.size());
        data.data_out = converted.data();
        data.output_frames = static_cast<long>(converted.size());
        data.src_ratio = ratio;
        const int error = src_simple(&data, SRC_SINC_MEDIUM_QUALITY, 1);
        if (error != 0) {
            throw Refused(std::string("cannot resample: ") + src_strerror(error));
        }
        converted.resize(static_cast<std::size_t>(data.output_frames_gen));
        samples = &converted;
    }
    std::vector<short> shorts(samples->size());
    src_float_to_short_array(samples->data(), shorts.data(), static_cast<int>(shorts.size()));
    return shorts;
}

Sound readSound(const fs::path& file, int longest) {
    SF_INFO info{};
    const OpenedFile opened(sf_open(file.c_str(), SFM_READ, &info), sf_close);
    const std::string name = file.filename().string();
    if (opened == nullptr) {
        throw Refused("cannot read " + name + ": " + sf_strerror(nullptr));
    }
    Sound sound;
    sound.rate = info.samplerate;
    const sf_count_t wanted = static_cast<sf_count_t>(info.samplerate) * longest;
    std::vector<float> frame(static_cast<std::size_t>(info.channels));
    while (static_cast<sf_count_t>(sound.samples.size()) < wanted &&
           sf_readf_float(opened.get(), frame.data(), 1) == 1) {
        float sum = 0.0F;
        for (const float sample : frame) {
            sum += sample;
        }
        sound.samples.push_back(sum / static_cast<float>(info.channels));
    }
    if (sound.samples.empty()) {
        throw Refused(name + " holds no audio");
    }
    return sound;
}

void writeWav(const fs::path& file, const std::vector<short>& samples, std::size_t count) {
    const auto refuse = [](const char* why) {
        throw Refused(std::string("cannot write the audio: ") + why);
    };
    SF_INFO info{};
    info.samplerate = audioRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    OpenedFile opened(sf_open(file.c_str(), SFM_WRITE, &info), sf_close);
    if (opened == nullptr) {
        refuse(sf_strerror(nullptr));
    }
    for (std::size_t left = count; left > 0;) {
        const auto piece = static_cast<sf_count_t>(std::min(left, samples.size()));
        if (sf_writef_short(opened.get(), samples.data(), piece) != piece) {
            refuse(sf_strerror(opened.get()));
        }
        left -= static_cast<std::size_t>(piece);
    }
    const int error = sf_close(opened.release());  // the last write may fail here
    if (error != 0) {
        refuse(sf_error_number(error));
    }
}

// -------------------------------------------------------------------------------- digest and URI

std::string sha256(const fs::path& file) {
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> digest(EVP_MD_CTX_new(),
                                                                    EVP_MD_CTX_free);
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned length = 0;
    bool done = digest != nullptr && EVP_DigestInit_ex(digest.get(), EVP_sha256(), nullptr) == 1;
    std::ifstream stream(file, std::ios::binary);
    for (std::array<char, 65536> block{}; done && stream;) {
        stream.read(block.data(), block.size());
        const auto count = static_cast<std::size_t>(stream.gcount());
        done = EVP_DigestUpdate(digest.get(), block.data(), count) == 1;
    }
    done = done && stream.eof() && EVP_DigestFinal_ex(digest.get(), hash.data(), &length) == 1;
    if (!done) {
        throw Refused("cannot compute the checksum of the audio");
    }
    return hexText(hash.data(), length, "0123456789abcdef");
}

std::string fileUri(const fs::path& file) {
    constexpr std::string_view unchanged =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string uri = "file://";
    for (const char c : fs::absolute(file).string()) {
        const auto byte = static_cast<unsigned char>(c);
        uri += unchanged.find(c) != std::string_view::npos
                   ? std::string(1, c)
                   : "%" + hexText(&byte, 1, "0123456789ABCDEF");
    }
    return uri;
}

}  // namespace simserver
