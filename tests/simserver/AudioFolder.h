#pragma once

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

/// A folder that is gone after the test, of a name that needs care in a URI.
struct AudioFolder {
    AudioFolder() { std::filesystem::create_directories(path); }
    AudioFolder(const AudioFolder&) = delete;
    AudioFolder& operator=(const AudioFolder&) = delete;
    ~AudioFolder() { std::filesystem::remove_all(path); }

    auto files() const {
        using Files = std::filesystem::directory_iterator;
        return std::distance(Files(path), Files());
    }

    const std::string pid = std::to_string(getpid());
    const std::filesystem::path path =
        std::filesystem::path(testing::TempDir()) / ("50% sp\xC3\xB6ol " + pid);
};

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
