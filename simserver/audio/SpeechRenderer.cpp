// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/SpeechRenderer.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "framework/uuid.h"
#include "simserver/audio/AudioFile.h"
#include "simserver/audio/Synthesizer.h"
#include "simserver/lookUp.h"
#include "simserver/protocol/FieldReader.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

constexpr std::size_t mostJobs = 32;
constexpr std::size_t mostRequests = 100;  // for one text
constexpr std::size_t mostPreviews = 50;   // of a minute each: about 300 MB

/// In bytes. The synthesizer reads a whole text before it speaks; a larger text would be longer
/// than any preview.
constexpr std::size_t largestText = 65536;

int decodeRate(const std::string& text) {
    const NamedField field(text, "rate");
    const int rate = field.integer();
    if (rate <= 0) {
        field.refuse("\"" + text + "\" is not above 0");
    }
    return rate;
}

const std::string& synthesizerOf(const Voice& voice) {
    return voice.synthesizer.empty() ? voice.language : voice.synthesizer;
}

}  // namespace

SpeechRenderer::SpeechRenderer(const Station& station, const UploadFolder& uploads, Report report)
    : station_(station), uploads_(uploads), report_(std::move(report)) {}

SpeechRenderer::~SpeechRenderer() {
    {
        const std::lock_guard guard(lock_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.reset();
}

std::optional<Preview> SpeechRenderer::request(const RetrievalRequest& request) {
    const std::lock_guard guard(lock_);
    try {
        const Voice& voice = voiceFor(request);
        const Preview* const known = find(voice.port, request.text);
        std::error_code ignored;
        if (known != nullptr &&
            std::filesystem::exists(*uploads_.placeOfPreview(known->fullName), ignored)) {
            return *known;
        }
        enqueue(voice, request);
        return std::nullopt;
    } catch (const std::exception& failure) {
        return failedPreview(request.id, request.text, failure.what());
    }
}

std::vector<Preview> SpeechRenderer::previews() const {
    const std::lock_guard guard(lock_);
    return previews_;
}

void SpeechRenderer::waitUntilIdle() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return jobs_.empty() && !reporting_; });
}

const Voice& SpeechRenderer::voiceFor(const RetrievalRequest& request) const {
    if (request.text.empty()) {
        throw Refused("no text to speak");
    }
    if (request.text.size() > largestText) {
        throw Refused("the text is too long: it has more than " + std::to_string(largestText) +
                      " bytes");
    }
    return voiceOf(station_, request.language, request.voice, decodeRate(request.rate));
}

void SpeechRenderer::enqueue(const Voice& voice, const RetrievalRequest& request) {
    const auto waiting = std::find_if(jobs_.begin(), jobs_.end(), [&](const Job& job) {
        return &job.voice == &voice && job.text == request.text;
    });
    if (waiting != jobs_.end()) {
        if (waiting->requestIds.size() >= mostRequests) {
            throw Refused(std::to_string(mostRequests) + " requests wait for this text already");
        }
        waiting->requestIds.push_back(request.id);
        return;
    }
    if (jobs_.size() >= mostJobs) {
        throw Refused(std::to_string(mostJobs) + " texts are waiting to be spoken already");
    }
    if (thread_ == nullptr) {
        thread_ = std::make_unique<pa::PosixThread>("sim-speech", [this] { run(); });
    }
    jobs_.push_back({voice, request.text, {request.id}});
    changed_.notify_all();
}

Preview* SpeechRenderer::find(int port, const std::string& text) {
    const auto found = std::find_if(
        previews_.begin(), previews_.end(),
        [&](const Preview& preview) { return preview.port == port && preview.text == text; });
    return found == previews_.end() ? nullptr : &*found;
}

Preview SpeechRenderer::failedPreview(const std::string& requestId, const std::string& text,
                                      const std::string& why) {
    Preview preview;
    preview.item = ++lastItem_;
    preview.port = Preview::failed;
    preview.uuid = requestId;
    preview.text = text;
    preview.whyFailed = why;
    return preview;
}

void SpeechRenderer::run() {
    std::unique_lock guard(lock_);
    while (true) {
        changed_.wait(guard, [this] { return stopping_ || !jobs_.empty(); });
        if (stopping_) {
            return;
        }
        const Job& job = jobs_.front();  // later arrivals do not move it
        std::optional<Preview> spoken;
        std::string whyNot;
        guard.unlock();
        try {
            spoken = render(job);
        } catch (const std::exception& failure) {
            whyNot = failure.what();
        }
        guard.lock();
        std::vector<Preview> reports;
        if (spoken) {
            reports.push_back(keep(std::move(*spoken)));
            if (previews_.size() > mostPreviews) {
                reports.push_back(dropOldest());
            }
        } else if (!whyNot.empty()) {
            for (const std::string& requestId : job.requestIds) {
                reports.push_back(failedPreview(requestId, job.text, whyNot));
            }
        }
        jobs_.pop_front();
        reporting_ = true;
        guard.unlock();
        std::for_each(reports.begin(), reports.end(), report_);
        guard.lock();
        reporting_ = false;
        changed_.notify_all();
    }
}

/// @return nothing when the renderer is being destroyed
/// @throws Refused when the text cannot be spoken or takes too long
std::optional<Preview> SpeechRenderer::render(const Job& job) const {
    const auto mayContinue = [this](double seconds) {
        if (seconds > station_.longestPreview) {
            throw Refused("the text is too long: to speak it takes more than " +
                          std::to_string(station_.longestPreview) + " s");
        }
        return !stopping_;
    };
    const std::optional<Sound> sound = speak(synthesizerOf(job.voice), job.text, mayContinue);
    if (!sound) {
        return std::nullopt;
    }
    Preview preview;
    preview.port = job.voice.port;
    generateUUID(preview.uuid);
    preview.text = job.text;
    preview.fullName = UploadFolder::previewFolder + preview.uuid + ".wav";
    const std::filesystem::path place = *uploads_.placeOfPreview(preview.fullName);
    uploads_.putWhole(place, [&](const std::filesystem::path& file) {
        const std::vector<short> samples = resampled(*sound);
        writeWav(file, samples, samples.size());
        preview.size = std::filesystem::file_size(file);
        preview.checksum = sha256(file);
    });
    preview.uri = fileUri(place);
    return preview;
}

/// Gives it an item: that of the same text if its file had been deleted.
Preview SpeechRenderer::keep(Preview preview) {
    Preview* const known = find(preview.port, preview.text);
    if (known == nullptr) {
        preview.item = ++lastItem_;
        return previews_.emplace_back(std::move(preview));
    }
    preview.item = known->item;
    return *known = std::move(preview);
}

/// Deletes its file as well.
Preview SpeechRenderer::dropOldest() {
    Preview oldest = std::move(previews_.front());
    previews_.erase(previews_.begin());
    oldest.isDropped = true;
    std::error_code ignored;
    std::filesystem::remove(*uploads_.placeOfPreview(oldest.fullName), ignored);
    return oldest;
}

}  // namespace simserver
