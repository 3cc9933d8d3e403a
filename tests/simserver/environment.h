// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <sndfile.hh>
#include <string>
#include <unistd.h>
#include <vector>

#include "framework/log.h"

/// The samples of a WAV file, which must be of one channel, 16 bits and 48000 Hz.
inline std::vector<short> samplesOf(const std::filesystem::path& file) {
    SndfileHandle opened(file.string());
    EXPECT_EQ(opened.format(), SF_FORMAT_WAV | SF_FORMAT_PCM_16) << file;
    EXPECT_EQ(opened.channels(), 1);
    EXPECT_EQ(opened.samplerate(), 48000);
    std::vector<short> samples(static_cast<std::size_t>(opened.frames()));
    EXPECT_EQ(opened.read(samples.data(), opened.frames()), opened.frames());
    return samples;
}

inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What `action` writes to the log, a line each.
inline std::string logOf(const std::function<void()>& action) {
    static std::string lines;
    lines.clear();
    pa::setLogSink([](const pa::LogLine& line) { lines += line.text + '\n'; });
    action();
    pa::setLogSink({});
    return lines;
}

/// The result of `action` as a user who owns no file.
template <class Action>
auto asAnotherUser(Action action) {
    constexpr uid_t otherUser = 65534;
    const bool isRoot = geteuid() == 0;
    EXPECT_EQ(isRoot ? seteuid(otherUser) : 0, 0);
    const auto result = action();
    EXPECT_EQ(isRoot ? seteuid(0) : 0, 0);
    return result;
}
