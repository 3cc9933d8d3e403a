// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/Recordings.h"

#include <cmath>
#include <system_error>

#include "simserver/audio/AudioFile.h"
#include "simserver/protocol/FieldReader.h"
#include "simserver/protocol/Records.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

namespace fs = std::filesystem;
using pa::RecordKind;

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

std::vector<short> soundOf(const Microphone& microphone) {
    constexpr int longestFile = 60;  // seconds
    if (microphone.file.empty()) {
        return resampled(toneOf(microphone.tone));
    }
    return within("microphone",
                  [&microphone] { return resampled(readSound(microphone.file, longestFile)); });
}

std::string pathIn(const std::string& payload) {
    return NamedField(payload).decodedText();
}

}  // namespace

Recordings::Recordings(ServerContext& context, Playback& playback)
    : context_(context), playback_(playback) {}

void Recordings::start(const std::string& payload) {
    if (running_) {
        throw Refused("\"" + running_->path + "\" is being recorded");
    }
    const fs::path place = placeOf(payload);
    std::error_code fault;
    const fs::file_type type = fs::status(place, fault).type();
    if (type == fs::file_type::none) {
        throw Refused("\"" + payload + "\" cannot be a file: " + fault.message());
    }
    if (type != fs::file_type::not_found && type != fs::file_type::regular) {
        throw Refused("\"" + payload + "\" is not a file");
    }
    if (sound_.empty()) {
        sound_ = soundOf(context_.station.microphone);
    }
    running_ = Running{payload, context_.clock.now(), playback_.newKey(),
                       playback_.newRequestId("recording")};
    publishAll();
}

void Recordings::stop(const std::string& payload) {
    if (!payload.empty()) {
        throw Refused("nothing is expected, found \"" + payload + "\"");
    }
    if (!running_) {
        throw Refused("nothing is being recorded");
    }
    store(context_.clock.now() - running_->start);
    finish("Recorded", "0", running_->path);
}

std::optional<SimTime> Recordings::nextDue() const {
    return running_ ? std::optional(running_->start + longestRecording) : std::nullopt;
}

void Recordings::takeDue() {
    if (const auto due = nextDue(); !due || *due > context_.clock.now()) {
        return;
    }
    try {
        store(longestRecording);
        finish("Recorded", "0", running_->path);
    } catch (const Refused& refused) {
        finish("Failed", "3", refused.what());
    }
}

void Recordings::remove(const std::string& payload) {
    const std::string path = pathIn(payload);
    if (running_ && running_->path == path) {
        throw Refused("\"" + path + "\" is being recorded");
    }
    check(path);
    std::error_code error;
    fs::remove(placeOf(path), error);
    if (error) {
        throw Refused("cannot delete \"" + path + "\": " + error.message());
    }
}

void Recordings::preview(const std::string& payload) {
    constexpr int recorded = 1;
    constexpr int level = 500;
    const std::string path = pathIn(payload);
    check(path);
    RequestPart part;
    part.type = findType(recorded);
    part.content = RecordedContent{0, path};
    context_.content.lengthOf(part);  // refused when it cannot be read
    playback_.playOwn({playback_.newRequestId(), false, level, {part}});
}

/// Refuses what does not name a recording of the server's folder.
void Recordings::check(const std::string& path) const {
    std::error_code ignored;
    if (!fs::is_regular_file(placeOf(path), ignored)) {
        throw Refused("there is no recording \"" + path + "\"");
    }
}

fs::path Recordings::placeOf(const std::string& path) const {
    const std::optional<fs::path> place = context_.uploads.placeOf(path);
    if (!place) {
        throw Refused("\"" + path + "\" is not a file name in " + UploadFolder::serverFolder);
    }
    return *place;
}

void Recordings::store(SimTime length) const {
    const auto count = static_cast<std::size_t>(length.count()) * (audioRate / 1000);
    within("cannot store \"" + running_->path + "\"", [&] {
        context_.uploads.putWhole(placeOf(running_->path),
                                  [&](const fs::path& file) { writeWav(file, sound_, count); });
    });
}

// --------------------------------------------------------------------------------------- reports

void Recordings::publishAll() const {
    if (running_) {
        publish("Recording", std::nullopt, running_->path);
    }
}

/// Reports the end of the recording, and forgets it.
void Recordings::finish(const char* state, const std::optional<std::string>& completionCode,
                        const std::string& message) {
    publish(state, completionCode, message);
    context_.publisher.withdrawal(RecordKind::Announcement, running_->key);
    running_.reset();
}

void Recordings::publish(const char* state, const std::optional<std::string>& completionCode,
                         const std::string& message) const {
    context_.publisher.record(
        RecordKind::Announcement, running_->key,
        recordingRecord({running_->requestId, state, running_->start, completionCode, message},
                        context_.clock.epoch()));
}

}  // namespace simserver
