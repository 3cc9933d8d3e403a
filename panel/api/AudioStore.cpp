// SPDX-License-Identifier: Apache-2.0
#include "panel/api/AudioStore.h"

#include <algorithm>
#include <fstream>
#include <numeric>

#include "framework/clock.h"
#include "framework/uuid.h"
#include "panel/http/ApiError.h"
#include "util/FileError.h"

namespace papanel {

namespace {

bool isPlain(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
           c == '_';
}

/// What is plain of a name, without its ending: the server lists the file's name.
std::string plainPart(const std::string& name) {
    constexpr std::size_t longest = 32;
    std::string plain;
    for (const char c : name.substr(0, name.rfind('.'))) {
        if (isPlain(c) && plain.size() < longest) {
            plain += c;
        }
    }
    return plain.empty() ? plain : plain + '-';
}

std::string newId() {
    std::string id;
    generateUUID(id);
    return id;
}

/// The format of a file that is in the store's folder, which the client need not know.
paoperating::WavFormat formatOf(const std::filesystem::path& path) {
    try {
        return paoperating::checkWav(path.string());
    } catch (const pautil::FileError&) {
        throw ApiError(400, "bad-request", "the file is not a WAV file with sound in it");
    }
}

}  // namespace

StoredAudio::~StoredAudio() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

AudioStore::AudioStore(const AudioLimits& limits) : limits_(limits), folder_("papanel") {}

AudioStore::AudioPtr AudioStore::add(const std::string& user, const std::string& name,
                                     const std::string& bytes, Kind kind) {
    const auto audio = std::make_shared<StoredAudio>();
    audio->id = newId();
    audio->user = user;
    audio->name = name;
    audio->isPreview = kind == Kind::Preview;
    audio->bytes = bytes.size();
    audio->path = folder_.path() / (plainPart(name) + audio->id + ".wav");
    const std::lock_guard guard(lock_);
    removeOld();
    if (audio->isPreview) {
        removeOldPreviews(user);
    }
    requireSpace(user, bytes.size());
    std::ofstream file(audio->path, std::ios::binary);
    file << bytes;
    file.close();
    if (!file) {
        throw ApiError(503, "overloaded", "the gateway cannot store the file");
    }
    audio->format = formatOf(audio->path);
    audio->expiresMS = pa::monotonicMS() + std::chrono::milliseconds(limits_.lifetime).count();
    files_.push_back(audio);
    return audio;
}

AudioStore::AudioPtr AudioStore::find(const std::string& user, const std::string& id) {
    const std::lock_guard guard(lock_);
    removeOld();
    const auto found = std::find_if(files_.begin(), files_.end(), [&](const AudioPtr& audio) {
        return audio->id == id && audio->user == user;
    });
    if (found == files_.end()) {
        throw ApiError(404, "not-found", "there is no such audio file, or not any more");
    }
    return *found;
}

void AudioStore::removeExpired() {
    const std::lock_guard guard(lock_);
    removeOld();
}

void AudioStore::removeOld() {
    const std::int64_t now = pa::monotonicMS();
    while (!files_.empty() && files_.front()->expiresMS <= now) {
        files_.pop_front();
    }
}

/// Makes place for one.
void AudioStore::removeOldPreviews(const std::string& user) {
    const auto isUsers = [&](const AudioPtr& audio) {
        return audio->isPreview && audio->user == user;
    };
    auto count = static_cast<std::size_t>(std::count_if(files_.begin(), files_.end(), isUsers));
    for (; count >= limits_.previewsOfUser; --count) {
        files_.erase(std::find_if(files_.begin(), files_.end(), isUsers));
    }
}

void AudioStore::requireSpace(const std::string& user, std::size_t bytes) const {
    std::size_t all = bytes;
    std::size_t ofUser = bytes;
    std::size_t filesOfUser = 0;
    for (const AudioPtr& audio : files_) {
        all += audio->bytes;
        ofUser += audio->user == user ? audio->bytes : 0;
        filesOfUser += audio->user == user ? 1 : 0;
    }
    if (filesOfUser >= limits_.filesOfUser) {
        throw ApiError(413, "too-large",
                       "one user may have " + std::to_string(limits_.filesOfUser) +
                           " audio files; those of before expire in an hour");
    }
    if (ofUser > limits_.bytesOfUser) {
        throw ApiError(413, "too-large",
                       "the audio files of one user may have " +
                           std::to_string(limits_.bytesOfUser) +
                           " bytes together; those of before expire in an hour");
    }
    if (all > limits_.bytes || files_.size() >= limits_.files) {
        throw ApiError(503, "overloaded", "there is no space left for audio files");
    }
}

}  // namespace papanel
