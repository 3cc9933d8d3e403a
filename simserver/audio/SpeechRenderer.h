// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "framework/posixThread.h"
#include "simserver/audio/Preview.h"
#include "simserver/audio/UploadFolder.h"
#include "simserver/station/Station.h"

namespace simserver {

/// Speaks texts into files of the upload folder, one after the other in order of arrival, on its
/// own thread, which starts with the first text.
///
/// Every function may be called from any thread. A text that already waits is not spoken twice: one
/// report answers all requests for it. A text that takes longer than the station's longest preview
/// fails as soon as it exceeds that length. What waits and what is kept is limited: see
/// docs/simulator.md.
class SpeechRenderer {
public:
    /// Receives the outcome of a text, and each preview that is dropped, on the renderer's thread
    /// and without its lock.
    using Report = std::function<void(const Preview&)>;

    /// Station and upload folder must outlive the object.
    SpeechRenderer(const Station& station, const UploadFolder& uploads, Report report);
    SpeechRenderer(const SpeechRenderer&) = delete;
    SpeechRenderer& operator=(const SpeechRenderer&) = delete;

    /// Ends the text that is being spoken, and waits for the thread, which may be in a report.
    ~SpeechRenderer();

    /// @return the outcome if it is known at once; nothing when a report follows
    std::optional<Preview> request(const RetrievalRequest& request);

    /// Every preview that is kept, in order of the items.
    std::vector<Preview> previews() const;

    /// Waits until nothing is left to speak or to report.
    void waitUntilIdle();

private:
    struct Job {
        const Voice& voice;
        const std::string text;
        std::vector<std::string> requestIds;  // guarded by lock_
    };

    const Voice& voiceFor(const RetrievalRequest& request) const;
    void enqueue(const Voice& voice, const RetrievalRequest& request);
    Preview* find(int port, const std::string& text);
    Preview failedPreview(const std::string& requestId, const std::string& text,
                          const std::string& why);
    void run();
    std::optional<Preview> render(const Job& job) const;
    Preview keep(Preview preview);
    Preview dropOldest();

    const Station& station_;
    const UploadFolder& uploads_;
    const Report report_;
    std::atomic<bool> stopping_{false};  // set with lock_ held

    mutable std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::deque<Job> jobs_;  // the first is being spoken
    bool reporting_ = false;
    std::vector<Preview> previews_;
    int lastItem_ = 0;
    std::unique_ptr<pa::PosixThread> thread_;  // null until the first text
};

}  // namespace simserver
