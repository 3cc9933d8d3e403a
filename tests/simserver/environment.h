#pragma once

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "framework/log.h"

/// The samples of a WAV file, which must be of one channel, 16 bits and 48000 Hz.
inline std::vector<std::int16_t> samplesOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    EXPECT_EQ(bytes.substr(8, 8), "WAVEfmt ") << file;
    EXPECT_EQ(bytes.substr(20, 16), std::string("\1\0\1\0\x80\xBB\0\0\0\x77\1\0\2\0\x10\0", 16));
    std::vector<std::int16_t> samples;
    for (std::size_t i = 44; i + 1 < bytes.size(); i += 2) {
        const int low = static_cast<unsigned char>(bytes[i]);
        samples.push_back(static_cast<std::int16_t>(low + bytes[i + 1] * 256));
    }
    return samples;
}

/// The result of `action` while no file can grow beyond a size, as if the disk were full.
template <class Action>
auto withFullDisk(rlim_t bytes, Action action) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limited{bytes, before.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const auto result = action();
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    return result;
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
