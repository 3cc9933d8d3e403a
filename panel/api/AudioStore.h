// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "operating/wavFile.h"
#include "util/TemporaryFolder.h"

namespace papanel {

/// A WAV file of the store. It is removed when the store has forgotten it and it is used no more.
struct StoredAudio {
    StoredAudio() = default;
    StoredAudio(const StoredAudio&) = delete;
    StoredAudio& operator=(const StoredAudio&) = delete;
    ~StoredAudio();

    std::string id;    ///< not to be guessed
    std::string user;  ///< whose it is
    std::string name;  ///< for people; may be hostile
    std::filesystem::path path;
    paoperating::WavFormat format{};
    bool isPreview = false;
    std::size_t bytes = 0;
    std::int64_t expiresMS = 0;  ///< by the host's monotonic clock
};

/// How much a store of audio keeps.
struct AudioLimits {
    std::size_t bytes = std::size_t{512} << 20U;        ///< of all
    std::size_t bytesOfUser = std::size_t{128} << 20U;  ///< of one user
    std::size_t files = 1'000;                          ///< of all
    std::chrono::milliseconds lifetime = std::chrono::hours(1);
    std::size_t filesOfUser = 200;
    std::size_t previewsOfUser = 5;
};

/// The WAV files that users have uploaded, and those that the server has spoken for them: in a
/// temporary folder, each for an hour by the host's clock. Of previews a user keeps the newest few.
///
/// Every function may be called from any thread.
class AudioStore {
public:
    using AudioPtr = std::shared_ptr<const StoredAudio>;

    /// @throws pautil::FileError when there is no temporary folder
    explicit AudioStore(const AudioLimits& limits = {});

    enum class Kind { Upload, Preview };

    /// Keeps a WAV file.
    /// @param name for people; what is plain of it becomes part of the file's name
    /// @throws ApiError bad-request when it is no WAV file or has no sound in it; too-large when
    ///                  the user has no space left; overloaded when there is none at all
    AudioPtr add(const std::string& user, const std::string& name, const std::string& bytes,
                 Kind kind = Kind::Upload);

    /// @throws ApiError not-found when the user has no such file, or not any more
    AudioPtr find(const std::string& user, const std::string& id);

    /// Forgets what is too old. To be called now and then.
    void removeExpired();

private:
    void removeOld();
    void removeOldPreviews(const std::string& user);
    void requireSpace(const std::string& user, std::size_t bytes) const;

    const AudioLimits limits_;
    const pautil::TemporaryFolder folder_;
    std::mutex lock_;
    std::deque<AudioPtr> files_;  // guarded by lock_; the oldest first
};

}  // namespace papanel
