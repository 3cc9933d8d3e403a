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

/// Speaks texts into files of the spool, one after the other in order of arrival, on a thread of
/// its own, which starts with the first of them.
///
/// Every function may be called from any thread. A text that is in hand already is not spoken
/// twice: whoever else asks for it is answered together with the first. One that takes longer than
/// the station's longest preview is given up without an answer.
class SpeechRenderer {
public:
    /// Told what became of a text, on the studio's thread and without a lock of the studio.
    using Report = std::function<void(const Preview&)>;

    /// Station and spool must outlive the object.
    SpeechRenderer(const Station& station, const UploadFolder& spool, Report report);
    SpeechRenderer(const SpeechRenderer&) = delete;
    SpeechRenderer& operator=(const SpeechRenderer&) = delete;

    /// Gives up what is in hand, and waits for the thread: it may be in a report.
    ~SpeechRenderer();

    /// @return what there is to say at once; nothing when a report follows
    std::optional<Preview> request(const RetrievalRequest& request);

    /// Every text that has been spoken, in order of the items.
    std::vector<Preview> previews() const;

    /// Waits until nothing is left to speak or to report.
    void waitUntilIdle();

private:
    struct Job {
        const Voice& voice;
        const std::string text;
        std::vector<std::string> requestIds;  // of all who asked for it; guarded by lock_
    };

    const Voice& voiceFor(const RetrievalRequest& request) const;
    void enqueue(const Voice& voice, const RetrievalRequest& request);
    Preview* find(int port, const std::string& text);
    Preview failedPreview(const std::string& requestId, const std::string& text,
                          const std::string& why);
    void run();
    std::optional<Preview> render(const Job& job) const;
    Preview keep(Preview preview);

    const Station& station_;
    const UploadFolder& spool_;
    const Report report_;
    std::atomic<bool> stopping_{false};  // set with lock_ held

    mutable std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::deque<Job> jobs_;  // the first is in hand
    bool reporting_ = false;
    std::vector<Preview> previews_;
    int lastItem_ = 0;
    std::unique_ptr<pa::PosixThread> thread_;  // null until there is something to speak
};

}  // namespace simserver
