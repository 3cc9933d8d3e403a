#include "simserver/audio/UserRecorder.h"

#include <algorithm>
#include <cmath>
#include <system_error>
#include <utility>

#include "simserver/audio/AudioFile.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

namespace fs = std::filesystem;

/// One second of a tone: a whole number of its waves, so that it can be repeated.
Sound toneOf(int frequency) {
    constexpr double amplitude = 0.25;
    constexpr double pi = 3.14159265358979323846;
    Sound tone;
    for (int i = 0; i < audioRate; ++i) {
        const double wave = std::sin(2 * pi * frequency * i / audioRate);
        tone.samples.push_back(static_cast<float>(amplitude * wave));
    }
    return tone;
}

std::vector<short> heardBy(const Microphone& microphone) {
    constexpr int longestFile = 60;  // seconds
    return resampled(microphone.file.empty() ? toneOf(microphone.tone)
                                             : within("microphone", [&microphone] {
                                                   return readSound(microphone.file, longestFile);
                                               }));
}

}  // namespace

UserRecorder::UserRecorder(const Station& station, const UploadFolder& spool)
    : station_(station), spool_(spool) {}

void UserRecorder::start(const std::string& path, SimTime now) {
    if (recording_) {
        throw Refused("\"" + recording_->path + "\" is being recorded");
    }
    const fs::path place = placeOf(path);
    std::error_code fault;
    const fs::file_type type = fs::status(place, fault).type();
    if (type == fs::file_type::none) {
        throw Refused("\"" + path + "\" cannot be a file: " + fault.message());
    }
    if (type != fs::file_type::not_found && type != fs::file_type::regular) {
        throw Refused("\"" + path + "\" is not a file");
    }
    if (heard_.empty()) {
        heard_ = heardBy(station_.microphone);
    }
    recording_ = Recording{path, now};
}

void UserRecorder::stop(SimTime now) {
    if (!recording_) {
        throw Refused("nothing is being recorded");
    }
    store(*recording_, now - recording_->start);
    recording_.reset();
}

std::optional<SimTime> UserRecorder::nextDue() const {
    return recording_ ? std::optional(recording_->start + longestRecording) : std::nullopt;
}

void UserRecorder::stopDue() {
    const Recording over = *std::exchange(recording_, std::nullopt);
    store(over, longestRecording);
}

void UserRecorder::remove(const std::string& path) {
    if (recording_ && recording_->path == path) {
        throw Refused("\"" + path + "\" is being recorded");
    }
    check(path);
    std::error_code error;
    fs::remove(placeOf(path), error);
    if (error) {
        throw Refused("cannot delete \"" + path + "\": " + error.message());
    }
}

void UserRecorder::check(const std::string& path) const {
    std::error_code ignored;
    if (!fs::is_regular_file(placeOf(path), ignored)) {
        throw Refused("there is no recording \"" + path + "\"");
    }
}

fs::path UserRecorder::placeOf(const std::string& path) const {
    const std::optional<fs::path> place = spool_.placeOf(path);
    if (!place) {
        throw Refused("\"" + path + "\" is not a file name in " + UploadFolder::serverFolder);
    }
    return *place;
}

void UserRecorder::store(const Recording& recording, SimTime length) const {
    const auto count = static_cast<std::size_t>(length.count()) * (audioRate / 1000);
    within("cannot store \"" + recording.path + "\"", [&] {
        spool_.putWhole(placeOf(recording.path),
                        [&](const fs::path& file) { writeWav(file, heard_, count); });
    });
}

}  // namespace simserver
