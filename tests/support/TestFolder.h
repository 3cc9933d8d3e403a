// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sndfile.hh>
#include <string>
#include <vector>

#include "util/TemporaryFolder.h"

/// A folder for the files of a test, removed with the object. Every user may read it.
class TestFolder {
public:
    /// A prefix of the name that needs escapes in a URI.
    static constexpr const char* unusual = "50% sp\xC3\xB6ol ";

    explicit TestFolder(const std::string& prefix = "pa-test") : folder_(prefix) {
        std::filesystem::permissions(path(), std::filesystem::perms(0755));
    }

    const std::filesystem::path& path() const { return folder_.path(); }

    /// The path of a file in it that has this content.
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path() / name, std::ios::binary) << content;
        return (path() / name).string();
    }

    /// Silence at 48000 Hz.
    std::string writeWav(const std::string& name, int frames) const {
        const std::vector<short> samples(static_cast<std::size_t>(frames));
        SndfileHandle file((path() / name).string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1,
                           48000);
        file.write(samples.data(), frames);
        return (path() / name).string();
    }

    /// How many files there are, those of its own folders included.
    auto files() const {
        using Entries = std::filesystem::recursive_directory_iterator;
        return std::count_if(Entries(path()), Entries(),
                             [](const auto& entry) { return !entry.is_directory(); });
    }

private:
    const pautil::TemporaryFolder folder_;
};
