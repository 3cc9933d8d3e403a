#pragma once

#include <filesystem>
#include <fstream>
#include <sndfile.hh>
#include <stdlib.h>
#include <string>
#include <vector>

/// A folder for the files of a test, which goes with the object.
class TestFolder {
public:
    TestFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "pa-test-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path& path() const { return path_; }

    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name) << content;
        return (path_ / name).string();
    }

    /// Silence at 48000 Hz.
    std::string writeWav(const std::string& name, int frames) const {
        const std::vector<short> samples(static_cast<std::size_t>(frames));
        SndfileHandle file((path_ / name).string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1,
                           48000);
        file.write(samples.data(), frames);
        return (path_ / name).string();
    }

private:
    std::filesystem::path path_;
};
