// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "client/ChangeStream.h"
#include "framework/posixThread.h"
#include "panel/events/EventLog.h"
#include "panel/events/LevelFeeds.h"
#include "panel/events/PendingChanges.h"

namespace papanel {

struct Services;

/// The events of all pages: what the audio server reports becomes batches of changes; a connection
/// that was lost, and changes that were dropped, a snapshot. One thread makes them. Every other
/// function may be called from any thread but from a callback.
class EventHub {
public:
    /// At least so long between two batches.
    static constexpr std::chrono::milliseconds pace{50};

    EventHub();
    EventHub(const EventHub&) = delete;
    EventHub& operator=(const EventHub&) = delete;
    /// Stops.
    ~EventHub();

    /// Begins; before that the log has no event.
    /// @param services with this hub; to be changed no more
    void start(const Services& services);

    /// Ends all pages.
    void stop();

    /// For pages.
    [[nodiscard]] EventLog& log() { return log_; }
    [[nodiscard]] LevelFeeds& levels() { return levels_; }

    /// @name Changes that the audio server does not report
    /// @{
    void noteLock(int sourceId);  ///< another session has it
    void noteTrigger(int id);     ///< a software trigger was made or removed
    /// @}

    /// How many changes wait.
    [[nodiscard]] std::size_t waiting() const { return changes_.waiting(); }

private:
    using Clock = std::chrono::steady_clock;

    void run();
    void take(const paclient::Change& change);
    void takeNotes();
    void publishStatus();

    const Services* services_ = nullptr;
    EventLog log_;
    paclient::Subscription changes_;
    PendingChanges pending_;
    LevelFeeds levels_;
    Clock::time_point batchDue_{};
    bool isComplete_ = false;  // the caches; changes are published
    bool wasSynced_ = false;   // in the last status
    bool awaitsSync_ = false;  // the connection is about to be synced

    std::atomic<bool> isStopping_{false};
    std::mutex lock_;
    // Guarded by lock_.
    std::set<int> notedLocks_;
    std::set<int> notedTriggers_;

    std::unique_ptr<pa::PosixThread> thread_;  // null before the start
};

}  // namespace papanel
