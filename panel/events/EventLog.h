// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "client/json.h"

namespace papanel {

/// The events of the last moments as text, once for all pages, each of which reads them at its own
/// pace. A page that is further back than what is kept is dropped: its browser opens the stream
/// again and receives a snapshot.
///
/// Event numbers are counted from 1; with a word of this log they are the ids that browsers send
/// back. Every function may be called from any thread; none with a lock that `snapshot` takes.
class EventLog {
public:
    using Text = std::shared_ptr<const std::string>;
    using Json = paclient::Json;

    static constexpr std::size_t defaultMaxBytes = std::size_t{4} << 20U;

    /// @param snapshot everything that a page begins with; what is added to the log before a call
    ///                 is in its result
    explicit EventLog(std::function<Json()> snapshot, std::size_t maxBytes = defaultMaxBytes);

    /// Adds an event.
    void add(const std::string& name, const Json& data);

    /// What follows does not complete what pages have: each reads a snapshot next.
    void addReset();

    /// Ends the pages of a session, with the reason as their last event.
    void endSession(const std::string& sessionId, const std::string& reason);

    /// Ends all pages, and those to come.
    void stop();

    /// How many pages are open, and how many were dropped so far.
    [[nodiscard]] std::size_t pages() const;
    [[nodiscard]] std::uint64_t dropped() const;

    /// An open page. For one thread.
    class Page {
    public:
        /// @param lastId the id of the last event that the page has; may be any text
        Page(EventLog& log, const std::string& lastId, std::string sessionId);
        Page(const Page&) = delete;
        Page& operator=(const Page&) = delete;
        ~Page();

        /// The next event, complete; waits for one.
        /// @return null when none has come within the limit, and when the page is over
        Text next(std::chrono::milliseconds limit);

        /// Whether no event follows.
        [[nodiscard]] bool isOver() const { return isOver_; }

    private:
        friend class EventLog;

        EventLog& log_;
        const std::string sessionId_;
        std::uint64_t read_ = 0;
        bool needsSnapshot_ = true;
        bool isOver_ = false;
        Text lastEvent_;  // guarded by the lock of the log; null until the session ends
    };

private:
    struct Snapshot {
        std::uint64_t number = 0;  // of the last event that is in it
        std::chrono::steady_clock::time_point made{};
        Text text;
    };

    [[nodiscard]] std::string idOf(std::uint64_t number) const;
    [[nodiscard]] Text textOf(const std::string& id, const std::string& name,
                              const Json& data) const;
    std::uint64_t numberIn(const std::string& id) const;
    void append(Text text);
    Snapshot snapshotSince(std::uint64_t number);

    const std::function<Json()> makeSnapshot_;
    const std::size_t maxBytes_;
    const std::string epoch_;

    mutable std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::deque<Text> events_;  // null for a reset
    std::uint64_t last_ = 0;   // number of the last one
    std::size_t bytes_ = 0;    // of all
    std::uint64_t reset_ = 0;  // number of the last reset
    std::uint64_t dropped_ = 0;
    std::set<Page*> pages_;
    bool isStopped_ = false;

    std::mutex snapshotLock_;
    Snapshot snapshot_;  // guarded by snapshotLock_
};

}  // namespace papanel
