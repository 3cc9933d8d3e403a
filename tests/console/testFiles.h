#pragma once

#include <filesystem>
#include <fstream>
#include <sndfile.hh>
#include <string>
#include <vector>

#include "util/TemporaryFolder.h"

/// A folder for the files of a test, removed with the object.
class TestFolder {
public:
    const std::filesystem::path& path() const { return folder_.path(); }

    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path() / name) << content;
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

private:
    const pautil::TemporaryFolder folder_{"pa-test"};
};
